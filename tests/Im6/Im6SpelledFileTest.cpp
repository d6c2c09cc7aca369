// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Files spelled byte by byte, which share no code with the samples of the other tests.

#include "Im6ImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>

namespace velmo::image::file {

namespace {

struct Piece {
    std::size_t offset;
    std::string bytes;
};

/// Bytes that stand where they are told to. All others are not zero.
std::string spell(std::size_t nbBytes, std::vector<Piece> const& pieces) {
    std::string bytes(nbBytes, '\x7E');
    for (Piece const& piece : pieces) {
        bytes.replace(piece.offset, piece.bytes.size(), piece.bytes);
    }
    return bytes;
}

template <std::size_t nbChars>
std::string literal(char const (&text)[nbChars]) {
    return std::string(text, nbChars - 1);
}

// clang-format off

/// 3 x 1 pixels of 16 bits, `sizeZ` planes.
std::string spellHeader(char sizeZ) {
    return spell(116, {
        {0, literal("\x34\x69\x00\x00")},               // magic number
        {4, literal("\x03\x00\x00\x00")},               // pixels in a row
        {8, literal("\x01\x00\x00\x00")},               // rows
        {12, std::string(1, sizeZ) + literal("\0\0\0")}, // planes
        {16, literal("\x01\x00\x00\x00")},              // grey
        {20, literal("\x01\x00\x00\x00")},              // time points
        {52, literal("\x12\x00\x00\x00")},              // 18: 16 bits without sign
        {68, literal("\x12\x00\x00\x00")},              // text: 18 bytes
        {72, literal("\x03\x00\x00\x00")},              // second block: 3 bytes
        {76, literal("\x01\x00\x00\x00")},              // third block: 1 byte
    });
}

std::string spellCalibration() {
    return spell(4424, {
        {8, literal("\x00\x00\x00\x00\x00\x00\x10\x40")},    // 4.0: divisor of x
        {32, literal("\x00\x00\x00\x00\x00\x00\x20\x40")},   // 8.0: divisor of y
        {56, literal("\x00\x00\x00\x00\x00\x00\x00\x40")},   // 2.0: dividend of x
        {80, literal("\x00\x00\x00\x00\x00\x00\xF0\x3F")},   // 1.0: dividend of y
        {104, literal("\x00\x00\x00\x00\x00\x00\xE0\xBF")},  // -0.5: first further value
        {112, literal("\x00\x00\x00\x00\x00\x00\x24\x40")},  // 10.0: second further value
        {168, literal("nm\x00")},
        {4412, literal("\x00\x00\x40\x40")},                 // 3.0: third further value
        {4416, literal("\x00\x00\x80\x3E")},                 // 0.25: size along z
    });
}

// clang-format on

std::string const g_spelledPlane = literal("\x01\x00\x02\x00\x03\x80");
std::string const g_secondPlane = literal("\xFF\xFF\x00\x01\x0A\x0B");
std::string const g_announcing = literal("the Calibration\0ab");
std::string const g_silent = literal("\0the Calibrationab");
std::string const g_otherBlocks = "2223";

class Im6SpelledFile : public Im6ImageFileTest {
  protected:
    GeometricCalibrationConstPtr openSpelled(std::string const& bytes, Im6ImageFile& file) const {
        writeFile(_path, bytes);
        EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds());
        return file.getGeometricCalibrationConstPtr();
    }
};

TEST_F(Im6SpelledFile, AnImageTakesItsCalibrationIn2dAndAVolumeIn3d) {
    for (bool const b3d : {false, true}) {
        Im6ImageFile file;
        std::string const planes = g_spelledPlane + (b3d ? g_secondPlane : "");
        auto const pCalibration = openSpelled(spellHeader(b3d ? '\2' : '\1') + planes + g_announcing +
                                                  g_otherBlocks + spellCalibration(),
                                              file);
        EXPECT_EQ(describeGeometry(file.getGeometry()),
                  b3d ? "x=3 y=1 z=2 c=1 t=1 eIBT_UInt16" : "x=3 y=1 z=1 c=1 t=1 eIBT_UInt16");
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, b3d ? 6U : 3U}), planes);
        ASSERT_TRUE(pCalibration);
        EXPECT_EQ(pCalibration->is3d(), b3d);
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
        EXPECT_EQ(pCalibration->getPixelSizeY(), 0.125F);
        EXPECT_EQ(pCalibration->getPixelSizeZ(), b3d ? 0.25F : 1.0F);
        EXPECT_EQ(pCalibration->getUnit(), "nm");
        EXPECT_EQ(pCalibration->getFurtherTerms(),
                  (std::array<float, 7>{-0.5F, 10, b3d ? 3.0F : 0.0F, 0, 0, 0, 0}));
    }
}

TEST_F(Im6SpelledFile, AWordBehindAZeroByteLeavesTheRecordAloneAndTheFileMayEndBeforeIt) {
    std::string const planes = g_spelledPlane + g_secondPlane;
    for (std::string const& record : {std::string(), spellCalibration()}) {
        Im6ImageFile file;
        EXPECT_FALSE(openSpelled(spellHeader('\2') + planes + g_silent + g_otherBlocks + record, file));
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 3}), g_secondPlane);
    }
}

TEST_F(Im6SpelledFile, AWordWithoutTheWholeRecordBehindItIsAFileTooShort) {
    std::string const start = spellHeader('\1') + g_spelledPlane + g_announcing + g_otherBlocks;
    ASSERT_EQ(start.size(), 144U);
    for (std::size_t const nbBytes : {0U, 1U, 4420U, 4423U}) {
        expectTooShort(start + spellCalibration().substr(0, nbBytes), 144 + 4424);
    }
}

} // namespace

} // namespace velmo::image::file
