// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <array>
#include <cstdint>
#include <iosfwd>

namespace velmo::image::file {

// The records of an Im6 file as they lie in it, little-endian. What is not used has no name.

struct HeaderData {
    std::uint32_t magic;
    std::uint32_t sizeX;
    std::uint32_t sizeY;
    std::uint32_t sizeZ; ///< 1 for a 2d image
    std::uint32_t sizeC; ///< 1 for grey; all else is RGB
    std::uint32_t sizeT; ///< 1 for a single image
    std::array<char, 28> unused24;
    std::uint32_t dataType;
    std::array<char, 12> unused56;
    std::uint32_t textBlockSize; ///< bytes of the three blocks behind the planes
    std::uint32_t secondBlockSize;
    std::uint32_t thirdBlockSize;
    std::array<char, 36> unused80;
};
static_assert(sizeof(HeaderData) == 116);

struct CalibrationData {
    std::array<char, 8> unused0;
    double pixelsX;
    std::array<char, 16> unused16;
    double pixelsY;
    std::array<char, 16> unused40;
    double extentX;
    std::array<char, 16> unused64;
    double extentY;
    std::array<char, 16> unused88;
    double firstFurther;
    double secondFurther;
    std::array<char, 48> unused120;
    std::array<char, 4244> unit; ///< to its first zero byte
    float thirdFurther;          ///< in 3d, as is the next
    float pixelSizeZ;
    std::array<char, 4> unused4420;
};
static_assert(sizeof(CalibrationData) == 4424);

/// A record without the magic number is raised as VELMOImageException. Sizes are taken as they are; a data
/// type that is not known gives eIBT_None.
ImageGeometryPtr headerToGeometry(HeaderData const& header);

/// Whether the text behind `dataSize` bytes of planes, up to its first zero byte, names a calibration. The
/// read position stays; a text that is not all there leaves the stream failed. Without a text nothing is
/// read.
bool fileContainsGeometricCalibration(HeaderData const& header, vlUInt64 dataSize, std::istream& stream);

GeometricCalibrationPtr calibDataToGeometricCalibration(HeaderData const& header, CalibrationData const& data,
                                                        bool is2d);

} // namespace velmo::image::file
