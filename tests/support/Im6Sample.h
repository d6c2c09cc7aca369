// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <optional>
#include <string>

namespace velmo::test {

constexpr std::uint32_t g_im6Magic = 0x6934;
constexpr vlUInt64 g_im6HeaderBytes = 116;
constexpr vlUInt64 g_im6CalibrationBytes = 4424;
constexpr std::size_t g_im6UnitBytes = 4244; ///< at most, up to the next field

/// What a text block holds for a calibration to follow.
inline std::string const g_calibrationText("Calibration\0", 12);

/// The fields of a calibration record that mean something.
struct Im6Calibration {
    double pixelsX = 4.0;
    double pixelsY = 8.0;
    double extentX = 2.0;
    double extentY = 2.0;
    double firstFurther = 11.0;
    double secondFurther = 12.0;
    std::string unit = std::string("um\0", 3);
    float thirdFurther = 13.0F;
    float pixelSizeZ = 1.5F;

    /// The bytes of the record. What means nothing is not zero.
    std::string toBytes() const;
};

/// An Im6 file to be written: 4 x 3 bytes in one plane, unless told otherwise. What means nothing is not
/// zero.
struct Im6Sample {
    std::uint32_t magic = g_im6Magic;
    std::uint32_t sizeX = 4;
    std::uint32_t sizeY = 3;
    std::uint32_t sizeZ = 1;
    std::uint32_t sizeC = 1;
    std::uint32_t sizeT = 1;
    std::uint32_t dataType = 20; ///< bytes without sign
    std::string pixels;          ///< the planes: t outermost, then c, then z
    std::string text;
    std::string secondBlock;
    std::string thirdBlock;
    std::optional<Im6Calibration> calibration; ///< behind the blocks; nothing else announces it
    std::string trailer;

    // What the header says of the blocks, where that is not what they are.
    std::optional<std::uint32_t> textBlockSize;
    std::optional<std::uint32_t> secondBlockSize;
    std::optional<std::uint32_t> thirdBlockSize;

    std::string toHeader() const;
    std::string toBytes() const;
    void write(boost::filesystem::path const& path) const;
};

/// 2 x 1 pixels of 16 bits, 2 planes in z, RGB, 2 time steps: 12 planes of 4 bytes.
Im6Sample makeIm6Sequence();

} // namespace velmo::test
