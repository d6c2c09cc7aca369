// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <array>
#include <cstdint>
#include <iosfwd>

namespace velmo::image::file {

// The records of an Im6 file, byte for byte as in the file, little-endian. Unused bytes are in members named
// `unused`.

struct HeaderData {
    std::uint32_t magic;
    std::uint32_t sizeX;
    std::uint32_t sizeY;
    std::uint32_t sizeZ; ///< 1 for a 2d image
    std::uint32_t sizeC; ///< 1 for grey; any other number for RGB
    std::uint32_t sizeT; ///< 1 for a single image
    std::array<char, 28> unused24;
    std::uint32_t dataType;
    std::array<char, 12> unused56;
    std::uint32_t textBlockSize; ///< bytes of the three blocks after the planes
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
    std::array<char, 4244> unit; ///< up to its first zero byte
    float thirdFurther;          ///< in 3d only, like pixelSizeZ
    float pixelSizeZ;
    std::array<char, 4> unused4420;
};
static_assert(sizeof(CalibrationData) == 4424);

/// Creates the geometry of a header. A header without the magic number is raised as VELMOImageException.
/// Sizes are not checked. An unknown pixel type gives eIBT_None.
ImageGeometryPtr headerToGeometry(HeaderData const& header);

/// Whether the text after `dataSize` bytes of planes contains the name of the calibration record before its
/// first zero byte. The read position does not change. If the text is truncated, the stream is in its error
/// state afterwards. If the header announces no text, nothing is read.
bool fileContainsGeometricCalibration(HeaderData const& header, vlUInt64 dataSize, std::istream& stream);

GeometricCalibrationPtr calibDataToGeometricCalibration(HeaderData const& header, CalibrationData const& data,
                                                        bool is2d);

} // namespace velmo::image::file
