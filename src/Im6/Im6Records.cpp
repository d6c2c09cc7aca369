// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOUtil/Failures.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

namespace velmo::image::file {

namespace {

constexpr std::uint32_t g_magic = 0x6934;
constexpr std::string_view g_calibrationWord = "Calibration";
/// Bytes of the text that are in memory at a time.
constexpr vlUInt64 g_pieceSize = vlUInt64{64} << 10;

eImageBufferType toBufferType(std::uint32_t dataType) {
    switch (dataType) {
    case 0:
        return eIBT_Real32;
    case 1:
        return eIBT_Int32;
    case 2:
        return eIBT_Int16;
    case 4:
        return eIBT_Int8;
    case 18:
        return eIBT_UInt16;
    case 20:
        return eIBT_UInt8;
    case 34:
        return eIBT_Binary;
    case 65:
        return eIBT_Label32;
    case 66:
        return eIBT_Label16;
    default:
        return eIBT_None;
    }
}

void seek(std::istream& stream, std::optional<vlUInt64> const& offset) {
    if (offset && *offset <= static_cast<vlUInt64>(NumericLimits<std::streamoff>::s_max)) {
        stream.seekg(static_cast<std::streamoff>(*offset));
    } else {
        stream.setstate(std::ios::failbit);
    }
}

/// Searches for the word from the current position to the first zero byte, piece by piece. Moves to the end
/// of the `nbBytes` bytes.
bool findWord(std::istream& stream, vlUInt64 nbBytes) {
    std::string text; // the end of the previous piece and the current piece
    bool bFound = false;
    bool bEnded = false;
    for (vlUInt64 left = nbBytes; left != 0 && stream.good();) {
        vlUInt64 const kept = std::min<vlUInt64>(text.size(), g_calibrationWord.size() - 1);
        vlUInt64 const size = std::min(left, g_pieceSize);
        text.erase(0, text.size() - kept);
        text.resize(kept + size);
        stream.read(text.data() + kept, static_cast<std::streamsize>(size));
        text.resize(kept + static_cast<vlUInt64>(stream.gcount()));
        std::size_t const end = text.find('\0');
        bFound = bFound || (!bEnded && text.substr(0, end).find(g_calibrationWord) != std::string::npos);
        bEnded = bEnded || end != std::string::npos;
        left -= size;
        if ((bFound || bEnded) && left > 1) { // only checks whether the last byte exists
            stream.seekg(static_cast<std::streamoff>(left - 1), std::ios::cur);
            left = 1;
        }
    }
    return bFound;
}

} // namespace

ImageGeometryPtr headerToGeometry(HeaderData const& header) {
    if (header.magic != g_magic) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageAccessorMessage::eIAM_InvalidFileFormat);
    }
    VolumeGeometry volume;
    if (header.sizeZ == 1) {
        volume.init2d();
    } else {
        volume.init3d(header.sizeZ);
    }
    ColorGeometry color;
    if (header.sizeC == 1) {
        color.initGrey();
    } else {
        color.initRgb();
    }
    TemporalGeometry temporal;
    if (header.sizeT == 1) {
        temporal.initSingle();
    } else {
        temporal.initSequence(header.sizeT);
    }
    return geometry(toBufferType(header.dataType), header.sizeX, header.sizeY, volume, color, temporal);
}

bool fileContainsGeometricCalibration(HeaderData const& header, vlUInt64 dataSize, std::istream& stream) {
    if (header.textBlockSize == 0) {
        return false;
    }
    std::streampos const position = stream.tellg();
    seek(stream, checkedAdd(sizeof(HeaderData), dataSize));
    bool const bFound = findWord(stream, header.textBlockSize);
    stream.seekg(position);
    return bFound;
}

GeometricCalibrationPtr calibDataToGeometricCalibration(HeaderData const& /*header*/,
                                                        CalibrationData const& data, bool is2d) {
    auto const sizeX = static_cast<float>(data.extentX / data.pixelsX);
    auto const sizeY = static_cast<float>(data.extentY / data.pixelsY);
    auto const first = static_cast<float>(data.firstFurther);
    auto const second = static_cast<float>(data.secondFurther);
    std::string const unit(data.unit.begin(), std::find(data.unit.begin(), data.unit.end(), '\0'));
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    if (is2d) {
        pCalibration->init2d(sizeX, sizeY, unit, first, second, 0, 0, 0);
    } else {
        pCalibration->init3d(sizeX, sizeY, data.pixelSizeZ, unit, first, second, data.thirdFurther, 0, 0, 0,
                             0);
    }
    return pCalibration;
}

} // namespace velmo::image::file
