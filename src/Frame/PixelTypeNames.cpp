// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/PixelTypeNames.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace velmo::image::file {

namespace {

template <class Value>
using Name = std::pair<char const*, Value>;

constexpr std::array<Name<eImageBufferType>, 11> g_pixelTypes = {{{"uint8", eIBT_UInt8},
                                                                  {"int8", eIBT_Int8},
                                                                  {"uint16", eIBT_UInt16},
                                                                  {"int16", eIBT_Int16},
                                                                  {"uint32", eIBT_UInt32},
                                                                  {"int32", eIBT_Int32},
                                                                  {"real32", eIBT_Real32},
                                                                  {"binary", eIBT_Binary},
                                                                  {"label8", eIBT_Label8},
                                                                  {"label16", eIBT_Label16},
                                                                  {"label32", eIBT_Label32}}};

constexpr std::array<Name<eColorGeometryType>, 11> g_colors = {{{"grey", eCGT_Grey},
                                                                {"rgb", eCGT_Rgb},
                                                                {"rgba", eCGT_Rgba},
                                                                {"xyz", eCGT_XYZ},
                                                                {"ypbpr", eCGT_YPbPr},
                                                                {"ycbcr", eCGT_YCbCr},
                                                                {"cielab", eCGT_CieLab},
                                                                {"cieluv", eCGT_CieLuv},
                                                                {"hls", eCGT_HLS},
                                                                {"hsv", eCGT_HSV},
                                                                {"user", eCGT_User}}};

template <class Names, class Value>
std::string findName(Names const& names, Value value) {
    auto const found =
        std::find_if(names.begin(), names.end(), [&](auto const& name) { return name.second == value; });
    return found != names.end() ? found->first : "";
}

} // namespace

std::string getPixelTypeName(eImageBufferType type) {
    return findName(g_pixelTypes, type);
}

std::optional<eImageBufferType> findPixelType(std::string const& name) {
    for (auto const& [known, type] : g_pixelTypes) {
        if (name == known) {
            return type;
        }
    }
    return std::nullopt;
}

std::vector<std::string> getPixelTypeNames() {
    std::vector<std::string> names;
    names.reserve(std::size(g_pixelTypes));
    for (auto const& [name, type] : g_pixelTypes) {
        names.emplace_back(name);
    }
    return names;
}

std::string getColorName(eColorGeometryType type) {
    return findName(g_colors, type);
}

} // namespace velmo::image::file
