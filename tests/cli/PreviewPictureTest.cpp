// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "PngImage.h"
#include "Sanitizers.h"
#include "TiffSample.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <set>

namespace velmo::test {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Levels = std::vector<int>;

namespace {

class PreviewPicture : public CliTest {
  protected:
    PngImage show(std::string const& bytes, Arguments const& options) const {
        return showFile(create("in.raw", bytes), options);
    }

    PngImage showFile(std::string const& input, Arguments const& options = {}) const {
        expectDone(runTool(Arguments{"preview", input, path("out.png"), "--overwrite"} + options));
        return readPng(_folder / "out.png");
    }

    void expectWrongUse(Arguments const& options, std::string const& word, std::string const& other) const {
        create("in.raw", std::string(64, 'x'));
        expectFailure(runTool(Arguments{"preview", path("in.raw"), path("out.png")} + options), 2, word,
                      other);
        EXPECT_FALSE(exists("out.png"));
    }
};

/// 100 x 100 values from 0 to 99, each of them in a column of its own.
template <class Value>
std::vector<Value> createRamp() {
    std::vector<Value> values;
    for (int index = 0; index < 10000; ++index) {
        values.push_back(static_cast<Value>(index % 100));
    }
    return values;
}

Levels getRow(PngImage const& png, std::size_t y) {
    auto const size = static_cast<std::ptrdiff_t>(std::size_t{png.width} * png.nbChannels);
    auto const begin = png.pixels.begin() + static_cast<std::ptrdiff_t>(y) * size;
    return {begin, begin + size};
}

Levels getPart(PngImage const& png, std::size_t x, std::size_t y, std::size_t width, std::size_t height) {
    Levels part;
    for (std::size_t row = y; row < y + height; ++row) {
        Levels const levels = getRow(png, row);
        auto const begin = levels.begin() + static_cast<std::ptrdiff_t>(x);
        part.insert(part.end(), begin, begin + static_cast<std::ptrdiff_t>(width));
    }
    return part;
}

/// Levels of a ramp shown from `low` to `high`.
Levels createLevels(double low, double high) {
    Levels levels;
    for (int column = 0; column < 100; ++column) {
        levels.push_back(
            static_cast<int>(std::lround(255 * std::clamp((column - low) / (high - low), 0.0, 1.0))));
    }
    return levels;
}

/// Red, green and blue of a pixel.
Levels getColour(PngImage const& png, std::size_t index) {
    auto const begin = png.pixels.begin() + static_cast<std::ptrdiff_t>(3 * index);
    return {begin, begin + 3};
}

std::string createPlanes(std::size_t nbPixels, std::vector<int> const& levels) {
    std::string bytes;
    for (int const level : levels) {
        bytes += std::string(nbPixels, static_cast<char>(level));
    }
    return bytes;
}

/// A palette of 256 colours: index i is (i, 255 - i, 7), each part repeated in 16 bits.
void writePalette(boost::filesystem::path const& path, std::string const& pixels, std::uint16_t scale) {
    std::vector<std::uint16_t> red;
    std::vector<std::uint16_t> green;
    std::vector<std::uint16_t> blue;
    for (unsigned int index = 0; index < 256; ++index) {
        red.push_back(static_cast<std::uint16_t>(index * scale));
        green.push_back(static_cast<std::uint16_t>((255 - index) * scale));
        blue.push_back(static_cast<std::uint16_t>(7 * scale));
    }
    TIFF* const pTiff = TIFFOpen(path.c_str(), "w");
    ASSERT_NE(nullptr, pTiff);
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.size()));
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 1U);
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
    TIFFSetField(pTiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
    std::string row = pixels;
    EXPECT_EQ(1, TIFFWriteScanline(pTiff, row.data(), 0, 0));
    TIFFClose(pTiff);
}

} // namespace

// Contrast

TEST_F(PreviewPicture, AHotPixelDoesNotBlackenThePicture) {
    std::vector<std::uint16_t> values = createRamp<std::uint16_t>();
    values[5050] = 65535;
    PngImage const png = show(toBytes(values), raw("100,100", "uint16"));
    EXPECT_EQ(createLevels(0, 99), getRow(png, 0));
    EXPECT_EQ(255, png.pixels[5050]);
    PngImage const whole = show(toBytes(values), raw("100,100", "uint16") + Arguments{"--range", "min,max"});
    EXPECT_EQ(createLevels(0, 65535), getRow(whole, 0));
}

TEST_F(PreviewPicture, TheLeastThousandthIsCutAsWell) {
    std::vector<float> values = createRamp<float>();
    for (std::size_t index = 0; index < 10; ++index) {
        values[index] = -1e30F;
        values[9990 + index] = 1e30F;
    }
    EXPECT_EQ(createLevels(0, 99), getRow(show(toBytes(values), raw("100,100", "real32")), 50));
    values[10] = -1e30F;
    EXPECT_NE(createLevels(0, 99), getRow(show(toBytes(values), raw("100,100", "real32")), 50));
}

TEST_F(PreviewPicture, ValuesThatAreNotFiniteDoNotCountForTheContrast) {
    std::vector<float> values = createRamp<float>();
    for (std::size_t index = 0; index < 5000; ++index) {
        values[index] = index % 3 == 0   ? std::numeric_limits<float>::quiet_NaN()
                        : index % 3 == 1 ? std::numeric_limits<float>::infinity()
                                         : -std::numeric_limits<float>::infinity();
    }
    values[7777] = 1e30F;
    PngImage const png = show(toBytes(values), raw("100,100", "real32"));
    EXPECT_EQ(createLevels(0, 99), getRow(png, 60));
    EXPECT_EQ((Levels{0, 255, 0}), getPart(png, 0, 0, 3, 1));
}

TEST_F(PreviewPicture, AFewBrightPixelsOnAnEvenBackgroundAreShown) {
    std::vector<std::uint8_t> values(10000, 3);
    values[42] = 7;
    PngImage const png = show(toBytes(values), raw("100,100", "uint8"));
    EXPECT_EQ(0, png.pixels[41]);
    EXPECT_EQ(255, png.pixels[42]);
}

TEST_F(PreviewPicture, APictureOfMoreValuesThanAreSortedHasTheSameContrast) {
    std::vector<std::uint8_t> row;
    for (int x = 0; x < 3000; ++x) {
        row.push_back(static_cast<std::uint8_t>(x / 30));
    }
    std::string pixels;
    for (int y = 0; y < 3000; ++y) {
        pixels += toBytes(row);
    }
    pixels[0] = '\xff';
    PngImage const png = show(pixels, raw("3000,3000", "uint8") + Arguments{"--max-size", "3000"});
    EXPECT_EQ((Levels{0, 3, 255}), (Levels{png.pixels[3000], png.pixels[3030], png.pixels[5999]}));
}

// Colours

TEST_F(PreviewPicture, LabelsHaveDistinctColoursAndTheBackgroundIsBlack) {
    std::vector<std::uint16_t> labels(1000);
    std::iota(labels.begin(), labels.end(), std::uint16_t{0});
    PngImage const png = show(toBytes(labels), raw("1000,1", "label16"));
    ASSERT_EQ(3U, png.nbChannels);
    std::set<Levels> colours;
    for (std::size_t index = 0; index < labels.size(); ++index) {
        Levels const colour = getColour(png, index);
        colours.insert(colour);
        EXPECT_EQ(index == 0, *std::max_element(colour.begin(), colour.end()) < 128) << index;
    }
    EXPECT_EQ((Levels{0, 0, 0}), getColour(png, 0));
    EXPECT_EQ(labels.size(), colours.size());
}

TEST_F(PreviewPicture, ALabelHasTheSameColourInAllPictures) {
    Levels const colour = getColour(show(toBytes<std::uint8_t>({7}), raw("1,1", "label8")), 0);
    std::vector<std::uint32_t> const labels = {1, 4000000000U, 7, 7};
    PngImage const png =
        show(toBytes(labels), raw("2,1,2", "label32") + Arguments{"--montage", "--columns", "1"});
    EXPECT_EQ(colour, getColour(png, 2));
    EXPECT_EQ(colour, getColour(png, 3));
    EXPECT_NE(colour, getColour(png, 1));
}

TEST_F(PreviewPicture, LabelsWithAGivenRangeAreGrey) {
    std::string const bytes = toBytes<std::uint8_t>({2, 3, 7});
    PngImage const png = show(bytes, raw("3,1", "label8") + Arguments{"--range", "2,7"});
    EXPECT_EQ(1U, png.nbChannels);
    EXPECT_EQ((Levels{0, 51, 255}), png.pixels);
    EXPECT_EQ(png.pixels, show(bytes, raw("3,1", "label8") + Arguments{"--range", "min,max"}).pixels);
}

TEST_F(PreviewPicture, APaletteIsShownInItsColours) {
    Levels const colours = {0, 255, 7, 1, 254, 7, 200, 55, 7, 255, 0, 7};
    for (std::uint16_t const scale :
         std::vector<std::uint16_t>{0x101, 0x100, 1}) { // 16 bits, 8 bits, 8 bits of old programs
        writePalette(_folder / "in.tif", std::string("\0\1\xc8\xff", 4), scale);
        PngImage const png = showFile(path("in.tif"));
        EXPECT_EQ(3U, png.nbChannels);
        EXPECT_EQ(colours, png.pixels) << scale;
    }
    PngImage const indexes = showFile(path("in.tif"), {"--range", "0,255"});
    EXPECT_EQ((Levels{0, 1, 200, 255}), indexes.pixels);
}

TEST_F(PreviewPicture, AReducedPaletteShowsColoursThatExist) {
    writePalette(_folder / "in.tif", "\x10\x20\x90", 0x101);
    EXPECT_EQ((Levels{32, 223, 7}), showFile(path("in.tif"), {"--max-size", "1"}).pixels);
}

// Orientation

TEST_F(PreviewPicture, AFileOfAnyOrientationIsShownUpright) {
    TiffPage page; // rows 1 2 3 and 4 5 6
    page.pixels = "\1\2\3\4\5\6";
    std::vector<Levels> const expected = {{1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}, {6, 5, 4, 3, 2, 1},
                                          {4, 5, 6, 1, 2, 3}, {1, 4, 2, 5, 3, 6}, {4, 1, 5, 2, 6, 3},
                                          {6, 3, 5, 2, 4, 1}, {3, 6, 2, 5, 1, 4}};
    for (std::uint16_t orientation = 1; orientation <= 8; ++orientation) {
        page.orientation = orientation;
        writeTiff(_folder / "in.tif", {page, page});
        PngImage const png = showFile(path("in.tif"), {"--range", "0,255"});
        EXPECT_EQ(orientation < 5 ? 3U : 2U, png.width) << orientation;
        EXPECT_EQ(expected[orientation - 1U], png.pixels) << orientation;
    }
}

TEST_F(PreviewPicture, ATurnedPlaneStaysInItsTileWhenItIsReduced) {
    TiffPage page;
    page.sizeX = 4;
    page.sizeY = 2;
    page.orientation = ORIENTATION_RIGHTTOP;
    page.pixels = "\1\1\3\3\1\1\3\3";
    TiffPage other = page;
    other.pixels = "\5\5\7\7\5\5\7\7";
    writeTiff(_folder / "in.tif", {page, other});
    PngImage const png = showFile(path("in.tif"), {"--montage", "--max-size", "2", "--range", "0,255"});
    EXPECT_EQ(2U, png.width);
    EXPECT_EQ((Levels{1, 5, 3, 7}), png.pixels);
}

// Montage

TEST_F(PreviewPicture, TilesOfAMontageCarryNumbersThatAreReadableOverBlackAndWhite) {
    Arguments const options =
        raw("40,40,13", "uint8") + Arguments{"--montage", "--columns", "13", "--range", "0,255"};
    PngImage const black = show(createPlanes(1600, std::vector<int>(13, 0)), options);
    PngImage const white = show(createPlanes(1600, std::vector<int>(13, 255)), options);
    ASSERT_EQ(13U * 40, black.width);
    ASSERT_EQ(40U, black.height);
    std::set<Levels> shapes;
    for (std::size_t tile = 0; tile < 13; ++tile) {
        Levels const onBlack = getPart(black, 40 * tile, 0, 20, 20);
        Levels const onWhite = getPart(white, 40 * tile, 0, 20, 20);
        EXPECT_THAT(onBlack, Contains(255)) << tile;
        EXPECT_THAT(onWhite, Contains(0)) << tile;
        for (std::size_t pixel = 0; pixel < onBlack.size(); ++pixel) {
            EXPECT_TRUE(onBlack[pixel] == 0 || onWhite[pixel] == 255) << "white over both";
        }
        EXPECT_THAT(getPart(black, 40 * tile, 20, 40, 20), Not(Contains(255)));
        shapes.insert(onBlack);
    }
    EXPECT_EQ(13U, shapes.size());
}

TEST_F(PreviewPicture, TheNumberOfATileIsThatOfItsPlane) {
    std::string const bytes = createPlanes(1600, std::vector<int>(13, 0));
    Arguments const options = raw("40,40,13", "uint8") + Arguments{"--montage", "--columns", "99"};
    PngImage const all = show(bytes, options);
    PngImage const some = show(bytes, options + Arguments{"--step", "4"});
    ASSERT_EQ(4U * 40, some.width);
    for (std::size_t tile = 0; tile < 4; ++tile) {
        EXPECT_EQ(getPart(all, 160 * tile, 0, 40, 40), getPart(some, 40 * tile, 0, 40, 40)) << tile;
    }
}

TEST_F(PreviewPicture, TilesOfColoursCarryNumbers) {
    PngImage const png =
        show(createPlanes(1600, {0, 0, 9, 9}), raw("40,40,4", "label8") + Arguments{"--montage"});
    EXPECT_EQ(3U, png.nbChannels);
    EXPECT_THAT(png.pixels, Contains(255));
}

TEST_F(PreviewPicture, SmallTilesAndSinglePlanesCarryNoNumbers) {
    PngImage const small = show(createPlanes(64, {0, 0}), raw("8,8,2", "uint8") + Arguments{"--montage"});
    EXPECT_THAT(small.pixels, Not(Contains(255)));
    PngImage const single = show(createPlanes(1600, {0, 0}), raw("40,40,2", "uint8"));
    EXPECT_THAT(single.pixels, Not(Contains(255)));
}

TEST_F(PreviewPicture, AMontageHasTheGivenColumnsAndSteps) {
    Arguments const options = raw("1,1,7", "uint8") + Arguments{"--montage", "--range", "0,255"};
    std::string const bytes = createPlanes(1, {1, 2, 3, 4, 5, 6, 7});
    PngImage const two = show(bytes, options + Arguments{"--columns", "2"});
    EXPECT_EQ(2U, two.width);
    EXPECT_EQ((Levels{1, 2, 3, 4, 5, 6, 7, 0}), two.pixels);
    PngImage const thirds = show(bytes, options + Arguments{"--columns", "3", "--step", "3"});
    EXPECT_EQ(3U, thirds.width);
    EXPECT_EQ((Levels{1, 4, 7}), thirds.pixels);
    EXPECT_EQ(Levels{1}, show(bytes, options + Arguments{"--step", "18446744073709551615"}).pixels);
}

TEST_F(PreviewPicture, AMontageOfThousandsOfPlanesStaysSmallInMemory) {
    std::string const input = createSparse("in.raw", 5000UL * 256 * 256);
    ToolResult const result =
        runTool(Arguments{"preview", input, path("out.png"), "--montage"} + raw("256,256,5000", "uint8"));
    expectDone(result);
    EXPECT_TRUE(g_bSanitized || result.maxRss < 200L << 10) << result.maxRss;
    EXPECT_GE(1600U, readPng(_folder / "out.png").width);
}

// Projection

TEST_F(PreviewPicture, AProjectionShowsTheGreatestTheLeastOrTheMeanValue) {
    std::string const bytes = toBytes<std::uint8_t>({10, 200, 30, 40, 50, 60, 80, 20, 3});
    Arguments const options = raw("3,1,3", "uint8") + Arguments{"--range", "0,255", "--projection"};
    EXPECT_EQ((Levels{80, 200, 60}), show(bytes, options + Arguments{"max"}).pixels);
    EXPECT_EQ((Levels{10, 20, 3}), show(bytes, options + Arguments{"min"}).pixels);
    EXPECT_EQ((Levels{43, 90, 31}), show(bytes, options + Arguments{"mean"}).pixels);
    EXPECT_EQ((Levels{45, 110, 17}), show(bytes, options + Arguments{"mean", "--step", "2"}).pixels);
}

TEST_F(PreviewPicture, AProjectionLeavesOutWhatIsNotANumber) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    std::string const bytes = toBytes<float>({nan, nan, 3, nan, 8, 5});
    Arguments const options = raw("2,1,3", "real32") + Arguments{"--range", "0,255", "--projection"};
    EXPECT_EQ((Levels{3, 8}),
              show(toBytes<float>({nan, nan, 3, 8, nan, 2}), options + Arguments{"max"}).pixels);
    EXPECT_EQ((Levels{6, 5}), show(bytes, options + Arguments{"mean"}).pixels) << "of 3 and 8";
    EXPECT_EQ(
        (Levels{0}),
        show(toBytes<float>({nan, nan}), raw("1,1,2", "real32") + Arguments{"--projection", "min"}).pixels);
}

TEST_F(PreviewPicture, AProjectionOfColoursAndOfAnotherStepAndChannel) {
    std::string bytes;
    for (int plane = 0; plane < 2 * 3 * 2; ++plane) {
        bytes += static_cast<char>(plane);
    }
    Arguments const options =
        raw("1,1,2,3,2", "uint8") + Arguments{"--projection", "max", "--range", "0,255", "--t", "1"};
    EXPECT_EQ((Levels{7, 9, 11}), show(bytes, options).pixels);
    EXPECT_EQ((Levels{9}), show(bytes, options + Arguments{"--c", "1"}).pixels);
}

TEST_F(PreviewPicture, LabelsHaveAGreatestButNoMean) {
    Arguments const options = raw("1,1,2", "label8") + Arguments{"--projection"};
    EXPECT_EQ(show("\7", raw("1,1", "label8")).pixels, show("\7\2", options + Arguments{"max"}).pixels);
    boost::filesystem::remove(_folder / "out.png");
    expectWrongUse(options + Arguments{"mean"}, "--projection mean", "labels");
    writePalette(_folder / "in.tif", "\1", 1);
    expectFailure(runTool({"preview", path("in.tif"), path("out2.png"), "--projection", "max"}), 2,
                  "--projection", "palette");
}

// Wrong use

TEST_F(PreviewPicture, OptionsThatDoNotFitAreWrongUse) {
    Arguments const options = raw("2,2,2", "uint8");
    expectWrongUse(options + Arguments{"--projection", "sum"}, "--projection", "max, min, mean");
    expectWrongUse(options + Arguments{"--projection", "max", "--z", "1"}, "--projection", "--z");
    expectWrongUse(options + Arguments{"--projection", "max", "--montage"}, "--projection", "--montage");
    expectWrongUse(options + Arguments{"--columns", "2"}, "--columns", "--montage");
    expectWrongUse(options + Arguments{"--columns", "0", "--montage"}, "--columns", "at least 1");
    expectWrongUse(options + Arguments{"--step", "0", "--montage"}, "--step", "at least 1");
    expectWrongUse(options + Arguments{"--step", "2"}, "--step", "--montage");
    expectWrongUse(options + Arguments{"--step", "2", "--z", "1"}, "--step", "--z");
    expectWrongUse(options + Arguments{"--max-bytes", "1M"}, "--max-bytes", ".html");
    expectWrongUse(raw("1,1,64", "uint8") + Arguments{"--montage", "--columns", "1", "--max-size", "63"},
                   "1 columns", "--max-size 63");
    for (char const* const option :
         {"--z", "--c", "--t", "--columns", "--step", "--projection", "--max-size", "--range"}) {
        expectWrongUse(options + Arguments{option, ""}, option, "needs a value");
    }
    for (char const* const range : {"min", "max,min", "min,max,", "0,max"}) {
        expectWrongUse(options + Arguments{"--range", range}, "--range must be LO,HI", "min,max");
    }
}

} // namespace velmo::test
