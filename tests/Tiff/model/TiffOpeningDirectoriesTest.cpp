// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

namespace velmo::image::file {

namespace {

using Types = std::vector<eImageBufferType>;

class TiffOpeningDirectories : public TiffTest {
  protected:
    std::string sizeMismatch(std::string const& found, std::string const& reference) const {
        return "Plan size mismatch among tiff directories, found " + found + " whereas reference is " +
               reference + " for file " + _path.string();
    }
    /// Message 36 with three of its four arguments: the last one is empty.
    std::string typeText(std::string const& first, std::string const& second) const {
        return "Un supported image buffer type with bitsPerSamples=" + first + ", sampleFormat=" + second +
               " and image buffer mode " + _path.string() + " for file ";
    }
};

RawDirectory labels(unsigned int bits) {
    return greyDirectory(4, 3, bits);
}

void expectTypes(OpenedTiff const& file, Types const& types) {
    ASSERT_THAT(file.result, Succeeds());
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(file.pGeometry.get());
    ASSERT_NE(pTypes, nullptr);
    EXPECT_EQ(pTypes->getBufferTypes(), types);
}

} // namespace

TEST_F(TiffOpeningDirectories, ASingleDirectoryIsOnePlaneInEveryMode) {
    writeRawTiff(_path, {greyDirectory(5, 2)});
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal, static_cast<eTiffDirectoryMode>(7)}) {
        OpenedTiff const file(_path, {eIAM_ReadOnly, mode});
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(describeGeometry(*file.pGeometry), "x=5 y=2 z=1 c=1 t=1 eIBT_UInt8");
        EXPECT_EQ(file.pGeometry->getVolumeGeometryType(), eVGT_2d);
        EXPECT_EQ(file.pGeometry->getTemporalGeometryType(), eTGT_Single);
        EXPECT_FALSE(file.pCalibration);
        EXPECT_EQ(file.userProperties, "untouched");
    }
}

TEST_F(TiffOpeningDirectories, DirectoriesArePlanesOfAVolumeOrStepsOfASequence) {
    writeRawTiff(_path, {greyDirectory(), greyDirectory(), greyDirectory()});
    for (vlUInt64 const mode : {0U, 1U, 2U, 99U}) {
        OpenedTiff const file(_path, {eIAM_ReadOnly, static_cast<eTiffDirectoryMode>(mode)});
        ASSERT_THAT(file.result, Succeeds());
        bool const bSequence = mode == eTDM_Temporal;
        EXPECT_EQ(describeGeometry(*file.pGeometry),
                  bSequence ? "x=4 y=3 z=1 c=1 t=3 eIBT_UInt8" : "x=4 y=3 z=3 c=1 t=1 eIBT_UInt8");
        EXPECT_EQ(file.pGeometry->getVolumeGeometryType(), bSequence ? eVGT_2d : eVGT_3d);
        EXPECT_EQ(file.pGeometry->getTemporalGeometryType(), bSequence ? eTGT_Sequence : eTGT_Single);
        EXPECT_NE(dynamic_cast<HomogeneousImageGeometry*>(file.pGeometry.get()), nullptr);
    }
}

TEST_F(TiffOpeningDirectories, TheHandleIsTheCallersAndStandsOnTheLastDirectory) {
    RawDirectory second = greyDirectory();
    second.pixels = countingBytes(12, 100);
    writeRawTiff(_path, {greyDirectory(), second});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(TIFFCurrentDirectory(file.pTiff), 1U);
    EXPECT_EQ(countDescriptors(_path), 1U);
    std::string pixels(12, '\0');
    EXPECT_EQ(TIFFReadEncodedStrip(file.pTiff, 0, pixels.data(), 12), 12);
    EXPECT_EQ(pixels, second.pixels);
}

TEST_F(TiffOpeningDirectories, TheOrderOfTheChainCountsAndNotThatInTheFile) {
    std::vector<RawDirectory> directories = {greyDirectory(), labels(16), labels(32)};
    auto const places = findDirectories(directories);
    directories[0].next = places[2];
    directories[2].next = places[1];
    directories[1].next = 0;
    writeRawTiff(_path, directories);
    OpenedTiff const file(_path, {eIAM_ReadOnly, eTDM_Temporal});
    expectTypes(file, {eIBT_UInt8, eIBT_UInt32, eIBT_UInt16});
}

TEST_F(TiffOpeningDirectories, TypesThatDifferMakeAHeterogeneousImage) {
    writeRawTiff(_path, {labels(16), labels(8), labels(16)});
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        OpenedTiff const file(_path, {eIAM_ReadOnly, mode});
        expectTypes(file, {eIBT_UInt16, eIBT_UInt8, eIBT_UInt16});
        EXPECT_EQ(file.pGeometry->getBufferType(), eIBT_UInt16);
        EXPECT_EQ(file.pGeometry->getNbPlans(), 3U);
    }
    OpenedTiff const sequence(_path, {eIAM_ReadOnly, eTDM_Temporal});
    EXPECT_EQ(sequence.pGeometry->getPlanGeometry(1).getBufferType(), eIBT_UInt8);
}

TEST_F(TiffOpeningDirectories, TheBufferModeCountsForEveryDirectory) {
    writeRawTiff(_path, {labels(16), labels(8), labels(32)});
    OpenedTiff const file(_path, {eIAM_ReadOnly, eTDM_Volume, eTBM_Label});
    expectTypes(file, {eIBT_Label16, eIBT_Label8, eIBT_Label32});
}

TEST_F(TiffOpeningDirectories, TypesOfOneMeaningAreHomogeneous) {
    writeRawTiff(_path,
                 {greyDirectory().set(TIFFTAG_SAMPLEFORMAT, shorts({SAMPLEFORMAT_VOID})), greyDirectory()});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_NE(dynamic_cast<HomogeneousImageGeometry*>(file.pGeometry.get()), nullptr);
}

TEST_F(TiffOpeningDirectories, PackedBitsAreRefusedForWritingInTheFirstDirectoryAlone) {
    writeRawTiff(_path, {labels(8), labels(1)});
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        OpenedTiff const file(_path, {access});
        expectTypes(file, {eIBT_UInt8, eIBT_Binary});
    }
    writeRawTiff(_path, {labels(1), labels(8)});
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
    EXPECT_FALSE(OpenedTiff(_path, {eIAM_ReadWrite}).result);
}

TEST_F(TiffOpeningDirectories, SizesThatDifferAreRefusedWithBoth) {
    writeRawTiff(_path, {greyDirectory(), greyDirectory(), greyDirectory(5, 3)});
    OpenedTiff const wider(_path);
    EXPECT_THAT(wider.result, FailsWith(sizeMismatch("x=5 y=3", "x=4 y=3")));
    EXPECT_EQ(wider.pTiff, nullptr);
    EXPECT_EQ(countDescriptors(_path), 0U);
    writeRawTiff(_path, {greyDirectory(), greyDirectory(4, 2, 16)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(sizeMismatch("x=4 y=2", "x=4 y=3")));
}

TEST_F(TiffOpeningDirectories, ColorsThatDifferAreRefusedWithTheNamesOfBoth) {
    writeRawTiff(_path, {colorDirectory(), greyDirectory()});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(typeText("eCGT_Grey", "eCGT_Rgb")));
    writeRawTiff(_path, {greyDirectory(), colorDirectory(4)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(typeText("eCGT_Rgba", "eCGT_Grey")));
    writeRawTiff(_path, {colorDirectory(4), colorDirectory(3)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(typeText("eCGT_Rgb", "eCGT_Rgba")));
}

TEST_F(TiffOpeningDirectories, SamplesWithoutATypeAreRefusedWithoutTheMode) {
    writeRawTiff(_path, {labels(8), labels(64)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(typeText("64", "1")));
    writeRawTiff(_path, {labels(8), labels(16)});
    EXPECT_THAT(OpenedTiff(_path, {eIAM_ReadOnly, eTDM_Volume, eTBM_Binary}).result,
                FailsWith(typeText("16", "1")));
}

TEST_F(TiffOpeningDirectories, WhatIsBlackIsTheFirstDirectorysMatter) {
    RawDirectory const inverse = greyDirectory().set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_MINISWHITE}));
    writeRawTiff(_path, {inverse, greyDirectory()});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_FALSE(file.pGeometry->getColorGeometry().minIsBlack());
    writeRawTiff(_path, {greyDirectory(), inverse});
    OpenedTiff const other(_path);
    ASSERT_THAT(other.result, Succeeds());
    EXPECT_TRUE(other.pGeometry->getColorGeometry().minIsBlack());
}

TEST_F(TiffOpeningDirectories, AFurtherDirectorysColorsAreJudgedBeforeItsConfiguration) {
    Directory const color = stripDirectory(4, 3, 0, COMPRESSION_NONE, 3);
    Directory separate = color;
    separate.planarConfig = PLANARCONFIG_SEPARATE;
    writeTiff(_path, {color, separate});
    EXPECT_THAT(OpenedTiff(_path).result,
                FailsWith("Un supported planar configuration value 2 for file " + _path.string()));
    separate.photometric = PHOTOMETRIC_MINISBLACK;
    writeTiff(_path, {color, separate});
    EXPECT_THAT(
        OpenedTiff(_path).result,
        FailsWith("Un supported photometric interpretation value 1  with 3 samples per pixels for file " +
                  _path.string()));
}

TEST_F(TiffOpeningDirectories, TheirNumberHas16BitsWhereADescriptionIsHeldAgainstIt) {
    std::vector<RawDirectory> directories(65536 + 4, greyDirectory(1, 1));
    directories[0].set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1\nimages=00004\n"));
    writeRawTiff(_path, directories);
    OpenedTiff const asMany(_path);
    ASSERT_THAT(asMany.result, Succeeds());
    EXPECT_EQ(asMany.pGeometry->getSizeZ(), directories.size());
    std::string bytes = readFile(_path);
    writeFile(_path, bytes.replace(bytes.find("00004"), 5, "65541"));
    OpenedTiff const announced(_path);
    ASSERT_THAT(announced.result, Succeeds());
    EXPECT_EQ(announced.pGeometry->getSizeZ(), 65541U);
    EXPECT_EQ(TIFFCurrentDirectory(announced.pTiff), 0U);
}

} // namespace velmo::image::file
