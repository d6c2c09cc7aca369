// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffPixels.h"
#include "TiffFixture.h"

#include <array>
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

namespace {

constexpr eTiffBufferMode g_modes[] = {eTBM_Default, eTBM_Binary, eTBM_Label};
char const* const g_modeNames[] = {"eTBM_Default", "eTBM_Binary", "eTBM_Label"};

struct TypeRow {
    short bits;
    short format;
    std::array<eImageBufferType, 3> types; ///< by buffer mode
};

/// All samples that are supported.
std::vector<TypeRow> const g_types = {
    {1, 1, {eIBT_Binary, eIBT_Binary, eIBT_Binary}}, {1, 4, {eIBT_Binary, eIBT_Binary, eIBT_Binary}},
    {8, 1, {eIBT_UInt8, eIBT_Binary, eIBT_Label8}},  {8, 4, {eIBT_UInt8, eIBT_Binary, eIBT_Label8}},
    {16, 1, {eIBT_UInt16, eIBT_None, eIBT_Label16}}, {16, 4, {eIBT_UInt16, eIBT_None, eIBT_Label16}},
    {32, 1, {eIBT_UInt32, eIBT_None, eIBT_Label32}}, {32, 4, {eIBT_UInt32, eIBT_None, eIBT_Label32}},
    {8, 2, {eIBT_Int8, eIBT_None, eIBT_None}},       {16, 2, {eIBT_Int16, eIBT_None, eIBT_None}},
    {32, 2, {eIBT_Int32, eIBT_None, eIBT_None}},     {32, 3, {eIBT_Real32, eIBT_None, eIBT_None}},
};

eImageBufferType expectedType(int bits, int format, std::size_t mode) {
    for (TypeRow const& row : g_types) {
        if (row.bits == bits && row.format == format) {
            return row.types[mode];
        }
    }
    return eIBT_None;
}

std::string unsupportedType(int bits, int format, std::string const& mode, path const& path) {
    return "Un supported image buffer type with bitsPerSamples=" + std::to_string(bits) +
           ", sampleFormat=" + std::to_string(format) + " and image buffer mode " + mode + " for file " +
           path.string();
}

class TiffOpeningTypes : public TiffTest {
  protected:
    void expectOpensAs(eImageBufferType type, int bits, int format, std::size_t mode) const {
        OpenedTiff const file(_path, {eIAM_ReadOnly, eTDM_Volume, g_modes[mode]});
        if (type == eIBT_None) {
            EXPECT_THAT(file.result, FailsWith(unsupportedType(bits, format, g_modeNames[mode], _path)));
            EXPECT_EQ(file.pTiff, nullptr);
            return;
        }
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(file.pGeometry->getBufferType(), type);
        EXPECT_EQ(file.pGeometry->getPlanGeometry(0).getBufferType(), type);
    }
};

} // namespace

TEST(TiffPixelTypes, EveryPairOfBitsAndFormatIsSupportedAsTheTableSays) {
    for (int bits = -1; bits <= 130; ++bits) {
        for (int format = -1; format <= 8; ++format) {
            for (std::size_t mode = 0; mode < 3; ++mode) {
                EXPECT_EQ(
                    toImageBufferType(static_cast<short>(bits), static_cast<short>(format), g_modes[mode]),
                    expectedType(bits, format, mode))
                    << bits << " bits, format " << format << ", " << g_modeNames[mode];
            }
        }
    }
}

TEST_F(TiffOpeningTypes, FilesOfAllSupportedSamplesOpenAsTheTableSays) {
    for (TypeRow const& row : g_types) {
        writeRawTiff(_path,
                     {greyDirectory(4, 3, static_cast<unsigned int>(row.bits))
                          .set(TIFFTAG_SAMPLEFORMAT, shorts({static_cast<std::uint64_t>(row.format)}))});
        for (std::size_t mode = 0; mode < 3; ++mode) {
            SCOPED_TRACE(std::to_string(row.bits) + " bits, format " + std::to_string(row.format));
            expectOpensAs(row.types[mode], row.bits, row.format, mode);
        }
    }
}

TEST_F(TiffOpeningTypes, FilesOfOtherSamplesAreRefusedWithTheirNumbersAndTheMode) {
    std::pair<std::uint16_t, std::uint16_t> const others[] = {
        {1, 2}, {1, 3},  {2, 1},  {4, 1},  {12, 1}, {16, 3}, {24, 1}, {24, 3},
        {8, 3}, {64, 1}, {64, 2}, {64, 3}, {8, 5},  {8, 6},  {32, 5}, {128, 6}};
    for (auto const& [bits, format] : others) {
        writeRawTiff(_path, {greyDirectory(4, 3, bits).set(TIFFTAG_SAMPLEFORMAT, shorts({format}))});
        for (std::size_t mode = 0; mode < 3; ++mode) {
            SCOPED_TRACE(std::to_string(bits) + " bits, format " + std::to_string(format));
            expectOpensAs(eIBT_None, bits, format, mode);
        }
    }
}

TEST_F(TiffOpeningTypes, AnAbsentFormatIsUnsigned) {
    for (int const bits : {1, 8, 16, 32}) {
        writeRawTiff(_path, {greyDirectory(4, 3, static_cast<unsigned int>(bits))});
        for (std::size_t mode = 0; mode < 3; ++mode) {
            expectOpensAs(expectedType(bits, SAMPLEFORMAT_UINT, mode), bits, SAMPLEFORMAT_UINT, mode);
        }
    }
}

TEST_F(TiffOpeningTypes, OneBitOpensForReadingUnderEveryModeAndForWritingUnderNone) {
    writeRawTiff(_path, {greyDirectory(9, 3, 1)});
    for (std::size_t mode = 0; mode < 3; ++mode) {
        expectOpensAs(eIBT_Binary, 1, SAMPLEFORMAT_UINT, mode);
        for (eImageAccessMode const access : {eIAM_ReadWrite, static_cast<eImageAccessMode>(1)}) {
            OpenedTiff const file(_path, {access, eTDM_Volume, g_modes[mode]});
            EXPECT_THAT(file.result,
                        FailsWith("Un supported packed image with write access for file " + _path.string()));
        }
    }
}

TEST_F(TiffOpeningTypes, OneBitAndSeveralSamplesAreRefusedForReadingAndForWriting) {
    RawDirectory directory = colorDirectory(3);
    writeRawTiff(_path, {directory.set(TIFFTAG_BITSPERSAMPLE, shorts({1, 1, 1}))});
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        OpenedTiff const file(_path, {access});
        EXPECT_THAT(file.result,
                    FailsWith("Un supported packed color image (ie. one bit per pixel binary image "
                              "with color components) for file " +
                              _path.string()));
    }
}

} // namespace velmo::image::file
