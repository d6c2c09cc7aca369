// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffPixels.h"
#include "TiffFixture.h"

#include <memory>

namespace velmo::image::file {

using TiffOpeningColors = TiffTest;

TEST(TiffColors, OnlyThreeAndFourSamplesOfRgbAreAGeometry) {
    for (int photometric = -1; photometric <= 40; ++photometric) {
        for (int samples = -1; samples <= 9; ++samples) {
            FoundColor const found =
                retrieveColorGeometry(static_cast<short>(photometric), static_cast<short>(samples));
            bool const bExpected = photometric == PHOTOMETRIC_RGB && (samples == 3 || samples == 4);
            EXPECT_EQ(found.bInit, bExpected) << photometric << ", " << samples;
            EXPECT_EQ(found.color.minIsBlack(), photometric != PHOTOMETRIC_MINISWHITE) << photometric;
        }
    }
}

TEST(TiffColors, RgbHasThreeChannelsAndRgbaFourNamedOnes) {
    ColorGeometry const rgb = retrieveColorGeometry(PHOTOMETRIC_RGB, 3).color;
    EXPECT_EQ(rgb.getColorGeometryType(), eCGT_Rgb);
    EXPECT_EQ(rgb.getSizeC(), 3U);
    ColorGeometry const rgba = retrieveColorGeometry(PHOTOMETRIC_RGB, 4).color;
    EXPECT_EQ(rgba.getColorGeometryType(), eCGT_Rgba);
    EXPECT_EQ(rgba.getSizeC(), 4U);
    char const* const names[] = {"Red", "Green", "Blue", "Alpha"};
    for (vlUInt64 channel = 0; channel < 4; ++channel) {
        EXPECT_EQ(rgba.getChannelName(channel), names[channel]);
    }
}

TEST_F(TiffOpeningColors, FilesOfThreeAndFourSamplesOpenAsRgbAndRgba) {
    for (unsigned int const samples : {3U, 4U}) {
        writeRawTiff(_path, {colorDirectory(samples)});
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(file.pGeometry->getColorGeometryType(), samples == 3 ? eCGT_Rgb : eCGT_Rgba);
        EXPECT_EQ(file.pGeometry->getSizeC(), samples);
        EXPECT_TRUE(file.pGeometry->getColorGeometry().minIsBlack());
        EXPECT_EQ(file.pGeometry->getColorGeometry().getChannelName(samples - 1),
                  samples == 3 ? "" : "Alpha");
    }
}

TEST_F(TiffOpeningColors, FilesOfSeveralSamplesOfAnythingElseAreRefused) {
    std::pair<std::uint16_t, std::uint16_t> const others[] = {
        {PHOTOMETRIC_MINISWHITE, 2}, {PHOTOMETRIC_MINISWHITE, 3}, {PHOTOMETRIC_MINISBLACK, 2},
        {PHOTOMETRIC_MINISBLACK, 3}, {PHOTOMETRIC_RGB, 2},        {PHOTOMETRIC_RGB, 5},
        {PHOTOMETRIC_PALETTE, 3},    {PHOTOMETRIC_SEPARATED, 4},  {PHOTOMETRIC_CIELAB, 3},
        {PHOTOMETRIC_ICCLAB, 3},     {PHOTOMETRIC_LOGLUV, 3}};
    for (auto const& [photometric, samples] : others) {
        // without a map, libtiff takes a palette of three samples for RGB
        RawField const map = shorts(std::vector<std::uint64_t>(3 * 256, 7));
        writeRawTiff(_path, {colorDirectory(samples, photometric).set(TIFFTAG_COLORMAP, map)});
        OpenedTiff const file(_path);
        EXPECT_THAT(file.result,
                    FailsWith("Un supported photometric interpretation value " +
                              std::to_string(static_cast<short>(photometric)) + "  with " +
                              std::to_string(samples) + " samples per pixels for file " + _path.string()));
        EXPECT_EQ(file.pTiff, nullptr);
    }
}

TEST_F(TiffOpeningColors, AnAbsentPhotometricOfSeveralSamplesCountsAsZero) {
    writeRawTiff(_path, {colorDirectory(3).without(TIFFTAG_PHOTOMETRIC)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith("Un supported photometric interpretation value 0  with 3 "
                                                    "samples per pixels for file " +
                                                    _path.string()));
}

TEST_F(TiffOpeningColors, ASingleSampleIsGreyForEveryPhotometric) {
    for (int const photometric : {PHOTOMETRIC_MINISWHITE, PHOTOMETRIC_MINISBLACK, PHOTOMETRIC_RGB,
                                  PHOTOMETRIC_PALETTE, PHOTOMETRIC_MASK, PHOTOMETRIC_CFA}) {
        RawDirectory directory = greyDirectory();
        directory.set(TIFFTAG_PHOTOMETRIC, shorts({static_cast<std::uint64_t>(photometric)}));
        if (photometric == PHOTOMETRIC_PALETTE) {
            directory.set(TIFFTAG_COLORMAP, shorts(std::vector<std::uint64_t>(3 * 256, 7)));
        }
        writeRawTiff(_path, {directory});
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds()) << photometric;
        EXPECT_EQ(file.pGeometry->getColorGeometryType(), eCGT_Grey) << photometric;
        EXPECT_EQ(file.pGeometry->getColorGeometry().minIsBlack(), photometric != PHOTOMETRIC_MINISWHITE);
    }
}

TEST_F(TiffOpeningColors, AbsentSamplesAndPhotometricAreGreyWithBlackAsMinimum) {
    writeRawTiff(_path, {greyDirectory().without(TIFFTAG_SAMPLESPERPIXEL).without(TIFFTAG_PHOTOMETRIC)});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(file.pGeometry->getColorGeometryType(), eCGT_Grey);
    EXPECT_TRUE(file.pGeometry->getColorGeometry().minIsBlack());
}

TEST_F(TiffOpeningColors, SeparatePlanesAreRefusedBeforeTheirColors) {
    for (bool const bRgb : {true, false}) {
        Directory directory;
        directory.samples = 3;
        directory.photometric = bRgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        directory.planarConfig = PLANARCONFIG_SEPARATE;
        writeTiff(_path, {directory});
        EXPECT_THAT(OpenedTiff(_path).result,
                    FailsWith("Un supported planar configuration value 2 for file " + _path.string()));
    }
}

TEST_F(TiffOpeningColors, ASeparateConfigurationOfASingleSampleIsNoMatter) {
    writeRawTiff(_path, {greyDirectory().set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_SEPARATE}))});
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
}

TEST_F(TiffOpeningColors, InterleavedRgbNeedsBothTags) {
    struct Row {
        RawDirectory directory;
        bool bExpected;
    };
    Row const rows[] = {{colorDirectory(3), true},
                        {colorDirectory(4), true},
                        {colorDirectory(3, PHOTOMETRIC_CIELAB), false},
                        {colorDirectory(3).without(TIFFTAG_PHOTOMETRIC), false},
                        {colorDirectory(3)
                             .set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_SEPARATE}))
                             .set(TIFFTAG_STRIPOFFSETS, longs({8, 8, 8}))
                             .set(TIFFTAG_STRIPBYTECOUNTS, longs({12, 12, 12})),
                         false},
                        {greyDirectory(), false},
                        {greyDirectory().set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_RGB})), true}};
    for (Row const& row : rows) {
        writeRawTiff(_path, {row.directory});
        std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(_path.c_str(), "r"), &TIFFClose);
        ASSERT_TRUE(pTiff);
        EXPECT_EQ(isInterleavedRgb(pTiff.get(), "is not used"), row.bExpected) << &row - rows;
    }
}

} // namespace velmo::image::file
