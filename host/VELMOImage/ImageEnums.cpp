// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageEnums.h"

#include <array>
#include <ostream>

namespace velmo::image {

namespace {

constexpr std::array<char const*, 12> g_bufferTypes = {
    "eIBT_None",   "eIBT_Int8",   "eIBT_UInt8",  "eIBT_Int16",   "eIBT_UInt16",  "eIBT_Int32",
    "eIBT_UInt32", "eIBT_Real32", "eIBT_Binary", "eIBT_Label16", "eIBT_Label32", "eIBT_Label8"};

/// By buffer type.
constexpr std::array<eDataType, 12> g_dataTypes = {eDT_None,   eDT_Int8,   eDT_UInt8,  eDT_Int16,
                                                   eDT_UInt16, eDT_Int32,  eDT_UInt32, eDT_Real32,
                                                   eDT_UInt8,  eDT_UInt16, eDT_UInt32, eDT_UInt8};

constexpr std::array<unsigned int, 8> g_dataTypeSizes = {0, 1, 1, 2, 2, 4, 4, 4};

constexpr std::array<char const*, 11> g_colorGeometryTypes = {
    "eCGT_Grey",   "eCGT_Rgb",    "eCGT_Rgba", "eCGT_XYZ", "eCGT_YPbPr", "eCGT_YCbCr",
    "eCGT_CieLab", "eCGT_CieLuv", "eCGT_HLS",  "eCGT_HSV", "eCGT_User"};
constexpr std::array<char const*, 2> g_volumeGeometryTypes = {"eVGT_2d", "eVGT_3d"};
constexpr std::array<char const*, 2> g_temporalGeometryTypes = {"eTGT_Single", "eTGT_Sequence"};

template <std::size_t Count>
std::ostream& putName(std::ostream& os, std::array<char const*, Count> const& names, vlUInt64 value) {
    if (value < Count) {
        return os << names[value];
    }
    os.setstate(std::ios::badbit);
    return os;
}

} // namespace

eDataType toDataType(eImageBufferType const& bufferType) {
    return bufferType < g_dataTypes.size() ? g_dataTypes[bufferType] : eDT_None;
}

unsigned int getBufferBaseSize(eDataType const& dataType) {
    return dataType < g_dataTypeSizes.size() ? g_dataTypeSizes[dataType] : 0;
}

unsigned int getImageBufferBaseSize(eImageBufferType const& bufferType) {
    return getBufferBaseSize(toDataType(bufferType));
}

std::ostream& operator<<(std::ostream& os, eImageBufferType const& value) {
    return putName(os, g_bufferTypes, value);
}

std::ostream& operator<<(std::ostream& os, eColorGeometryType const& value) {
    return putName(os, g_colorGeometryTypes, value);
}

std::ostream& operator<<(std::ostream& os, eVolumeGeometryType const& value) {
    return putName(os, g_volumeGeometryTypes, value);
}

std::ostream& operator<<(std::ostream& os, eTemporalGeometryType const& value) {
    return putName(os, g_temporalGeometryTypes, value);
}

} // namespace velmo::image
