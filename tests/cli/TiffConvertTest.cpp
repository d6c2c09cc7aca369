// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Results.h"
#include "SeriesFixture.h"

#include <sys/stat.h>
#include <tuple>

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;

namespace {

class TiffConvert : public CliTest {
  protected:
    /// A conversion of the file "in.tif" to raw planes.
    std::string toRaw(Arguments const& options = {}) const {
        expectDone(runTool(Arguments{"convert", path("in.tif"), path("out.raw"), "--overwrite"} + options));
        return read("out.raw");
    }

    ToolResult fromRaw(std::string const& bytes, std::string const& size, std::string const& type,
                       Arguments const& options = {}) const {
        return runTool(Arguments{"convert", create("in.raw", bytes), path("out.tif")} + raw(size, type) +
                       options);
    }

    /// A conversion of the file "out.tif" to raw planes.
    std::string backToRaw() const {
        expectDone(runTool({"convert", path("out.tif"), path("back.raw"), "--overwrite"}));
        return read("back.raw");
    }

    /// The file "in.tif", whose first strip cannot be decoded.
    void writeDamaged(std::uint16_t samples) const;

    /// A conversion whose strip cannot be read, for this reason, and that leaves the folder as it was.
    void expectEarlierOutput(std::string const& output,
                             std::string const& reason = "\nTiff Error : ", char const* plane = "z=0") const {
        create(output, "earlier");
        std::vector<std::string> const names = list();
        ToolResult const result = runTool({"convert", path("in.tif"), path(output), "--overwrite"});
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, hasWords("Failed to read data of strip 0", plane, path("in.tif"), reason));
        EXPECT_EQ("earlier", read(output));
        EXPECT_EQ(names, list());
    }

    json describe(std::string const& name) const {
        json entry = test::describe({path(name)});
        entry.erase("file");
        return entry;
    }
};

TiffPage page(std::uint32_t sizeX, std::uint32_t sizeY, std::uint16_t bits, std::string const& pixels) {
    TiffPage result;
    result.sizeX = sizeX;
    result.sizeY = sizeY;
    result.bits = bits;
    result.pixels = pixels;
    return result;
}

void TiffConvert::writeDamaged(std::uint16_t samples) const {
    TiffPage plane = page(100, 100, 8, "");
    plane.samples = samples;
    plane.photometric = samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    plane.pixels = countingBytes(plane.countBytes());
    plane.compression = COMPRESSION_LZW;
    writeTiff(_folder / "in.tif", {plane});
    create("in.tif", read("in.tif").replace(8, 200, std::string(200, '\xff')));
}

struct Compression {
    Arguments options;
    std::uint16_t tag;
};

} // namespace

TEST_F(TiffConvert, EveryRawTypeBecomesDirectoriesAndComesBack) {
    using Types = std::vector<std::string>;
    for (auto const& [bits, sampleFormat, types] : std::vector<std::tuple<std::size_t, int, Types>>{
             {8, SAMPLEFORMAT_UINT, {"uint8", "binary", "label8"}},
             {16, SAMPLEFORMAT_UINT, {"uint16", "label16"}},
             {32, SAMPLEFORMAT_UINT, {"uint32", "label32"}},
             {8, SAMPLEFORMAT_INT, {"int8"}},
             {16, SAMPLEFORMAT_INT, {"int16"}},
             {32, SAMPLEFORMAT_INT, {"int32"}},
             {32, SAMPLEFORMAT_IEEEFP, {"real32"}}}) {
        for (std::string const& type : types) {
            SCOPED_TRACE(type);
            std::string const bytes = countingBytes(3U * 5 * 4 * bits / 8);
            expectDone(fromRaw(bytes, "5,4,3", type, {"--overwrite"}));
            std::string pixels;
            for (TiffPage const& plane : readTiff(_folder / "out.tif")) {
                EXPECT_EQ(bits, plane.bits);
                EXPECT_EQ(sampleFormat, plane.sampleFormat);
                pixels += plane.pixels;
            }
            EXPECT_EQ(bytes, pixels);
            EXPECT_EQ(bytes, backToRaw());
        }
    }
}

TEST_F(TiffConvert, TheCompressionIsTheOneAskedFor) {
    std::string const bytes = countingBytes(200 * 100) + std::string(200 * 100, 'x');
    for (Compression const& compression : {Compression{{}, COMPRESSION_NONE},
                                           {{"--compression", "none"}, COMPRESSION_NONE},
                                           {{"--compression", "lzw"}, COMPRESSION_LZW},
                                           {{"--compression", "deflate"}, COMPRESSION_DEFLATE}}) {
        expectDone(fromRaw(bytes, "200,100,2", "uint8", compression.options + Arguments{"--overwrite"}));
        std::vector<TiffPage> const pages = readTiff(_folder / "out.tif");
        ASSERT_EQ(2U, pages.size());
        EXPECT_EQ(compression.tag, pages[0].compression);
        EXPECT_EQ(compression.tag, pages[1].compression);
        EXPECT_TRUE(bytes == pages[0].pixels + pages[1].pixels);
        EXPECT_TRUE(bytes == backToRaw());
    }
}

TEST_F(TiffConvert, FiveDimensionsComeBackInTheirOrder) {
    for (char const* const size : {"3,2,4,2,2", "3,2,2,4,2"}) { // channels in directories, and side by side
        std::string const bytes = countingBytes(3 * 2 * 4 * 2 * 2);
        expectDone(fromRaw(bytes, size, "uint8", {"--overwrite", "--compression", "lzw"}));
        EXPECT_EQ(bytes, backToRaw()) << size;
    }
}

TEST_F(TiffConvert, ThreeRawChannelsBecomePixelsOfThreeSamples) {
    expectDone(fromRaw("RrGgBb", "2,1,1,3", "uint8"));
    std::vector<TiffPage> const pages = readTiff(_folder / "out.tif");
    ASSERT_EQ(1U, pages.size());
    EXPECT_EQ(3, pages[0].samples);
    EXPECT_EQ(PHOTOMETRIC_RGB, pages[0].photometric);
    EXPECT_EQ("RGBrgb", pages[0].pixels);
}

TEST_F(TiffConvert, ForeignColoursBecomePlanes) {
    TiffPage first = page(2, 1, 8, "RGBArgba");
    first.samples = 4;
    first.photometric = PHOTOMETRIC_RGB;
    TiffPage second = first;
    second.pixels = "1234abcd";
    second.compression = COMPRESSION_LZW;
    writeTiff(_folder / "in.tif", {first, second});
    EXPECT_EQ("Rr1aGg2bBb3cAa4d", toRaw());
}

TEST_F(TiffConvert, BigEndianFilesGiveLittleEndianPlanes) {
    std::string const values = toBytes<std::uint16_t>({1, 2, 300, 4, 5, 60000});
    writeTiff(_folder / "in.tif", {page(3, 2, 16, values), page(3, 2, 16, values)}, "wb");
    EXPECT_EQ(values + values, toRaw());
}

TEST_F(TiffConvert, PackedBitsBecomeBytesAlsoInWideRows) {
    std::uint32_t const sizeX = 1000;
    std::uint32_t const sizeY = 300;
    TiffPage plane = page(sizeX, sizeY, 1, countingBytes(sizeX / 8 * sizeY));
    writeTiff(_folder / "in.tif", {plane});
    std::string expected;
    for (char const byte : plane.pixels) {
        for (int bit = 7; bit >= 0; --bit) {
            expected += static_cast<char>((static_cast<unsigned char>(byte) >> bit) & 1);
        }
    }
    EXPECT_TRUE(expected == toRaw());
    expectDone(runTool({"convert", path("in.tif"), path("out.tif")}));
    std::vector<TiffPage> const pages = readTiff(_folder / "out.tif");
    ASSERT_EQ(1U, pages.size());
    EXPECT_TRUE(expected == pages[0].pixels);
}

TEST_F(TiffConvert, AnImageJStackOfOneDirectoryKeepsAllItsPlanes) {
    std::string const bytes = countingBytes(3 * 1500 * 1000); // planes that a copy takes in several pieces
    writeImageJStack(_folder / "in.tif", 3, page(1500, 1000, 8, bytes));
    EXPECT_TRUE(bytes == toRaw());
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--compression", "deflate"}));
    std::vector<TiffPage> const pages = readTiff(_folder / "out.tif");
    ASSERT_EQ(3U, pages.size());
    EXPECT_TRUE(bytes == pages[0].pixels + pages[1].pixels + pages[2].pixels);
}

TEST_F(TiffConvert, StripsOfAForeignFileAreReadWhateverTheirSizeAndCodec) {
    std::string const bytes = countingBytes(2 * 1500 * 1000);
    TiffPage first = page(1500, 1000, 16, bytes);
    for (std::uint32_t const rowsPerStrip : {0U, 1U, 7U}) {
        for (int const compression : {COMPRESSION_NONE, COMPRESSION_PACKBITS, COMPRESSION_LZW}) {
            first.rowsPerStrip = rowsPerStrip;
            first.compression = static_cast<std::uint16_t>(compression);
            writeTiff(_folder / "in.tif", {first});
            EXPECT_TRUE(bytes == toRaw()) << rowsPerStrip << ' ' << compression;
        }
    }
}

TEST_F(TiffConvert, TheAxisAndTheTypeThatTheOptionsGiveAreInTheNewFile) {
    writeTiff(_folder / "in.tif", {page(2, 1, 8, "ab"), page(2, 1, 8, "cd")});
    EXPECT_EQ("abcd", toRaw({"--directories", "t"}));
    expectDone(
        runTool({"convert", path("in.tif"), path("out.tif"), "--directories", "t", "--pixels", "label"}));
    json const entry = describe("out.tif");
    EXPECT_EQ(2, entry.at("sizeT"));
    EXPECT_EQ(1, entry.at("sizeZ"));
    EXPECT_EQ("label8", entry.at("pixelType"));
}

TEST_F(TiffConvert, TimeStepsOfDifferentTypesKeepTheirs) {
    std::string const values = toBytes<std::uint16_t>({300, 400});
    writeTiff(_folder / "in.tif", {page(2, 1, 8, "ab"), page(2, 1, 16, values)});
    EXPECT_EQ("ab" + values, toRaw({"--directories", "t"}));
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--directories", "t"}));
    EXPECT_THAT(describe("out.tif").at("pixelTypes"), ElementsAre("uint8", "uint16"));
    EXPECT_EQ("ab" + values, backToRaw());
}

TEST_F(TiffConvert, PlanesOfAVolumeWithPixelsOfDifferentSizesAreRefused) {
    writeTiff(_folder / "in.tif", {page(2, 1, 8, "ab"), page(2, 1, 16, "cdef")});
    expectEarlierOutput("out.raw", "16 bits", "z=1");
}

TEST_F(TiffConvert, AForeignCalibrationIsHandedOn) {
    TiffPage plane = page(2, 1, 8, "ab");
    plane.resolution = 4;
    writeTiff(_folder / "in.tif", {plane});
    expectDone(runTool({"convert", path("in.tif"), path("out.tif")}));
    EXPECT_EQ(describe("in.tif"), describe("out.tif"));
    EXPECT_EQ(0.25, describe("out.tif").at("calibration").at("x"));
}

TEST_F(TiffConvert, EverythingThatAFileOfTheLibrarySaysIsHandedOn) {
    saveVolume(_folder / "in.tif", 4, "scanner=\"B\", 17\n");
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--compression", "lzw"}));
    json const entry = describe("out.tif");
    EXPECT_EQ(describe("in.tif"), entry);
    EXPECT_EQ("scanner=\"B\", 17\n", entry.at("userProperties"));
    EXPECT_EQ(json({{"x", 0.65F}, {"y", 0.5}, {"z", 3.5}, {"unit", "um"}}), entry.at("calibration"));
}

TEST_F(TiffConvert, ADamagedStripLeavesTheEarlierOutputAndNothingElse) {
    for (std::uint16_t const samples : {std::uint16_t{1}, std::uint16_t{3}}) {
        writeDamaged(samples);
        expectEarlierOutput("out.raw");
        expectEarlierOutput("out.tif");
    }
}

TEST_F(TiffConvert, TiledColoursAreAFailureBehindTheirWarning) {
    TiffPage tiled = page(100, 100, 8, "");
    tiled.samples = 3;
    tiled.photometric = PHOTOMETRIC_RGB;
    tiled.tileSize = 16;
    writeTiff(_folder / "in.tif", {tiled});
    expectEarlierOutput("out.raw", "tiled image");
}

TEST_F(TiffConvert, PipesAreRefusedWithTheLibrarysWords) {
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    expectFailure(runTool({"convert", path("pipe"), path("out.raw"), "--format", "tiff"}), 1,
                  "Failed to open tiff image file " + path("pipe") + '\n');
    writeTiff(_folder / "in.tif", {page(2, 1, 8, "ab")});
    expectFailure(runTool({"convert", path("in.tif"), path("pipe"), "--output-format", "tiff"}), 1,
                  "Failed to create tiff image file " + path("pipe") + '\n');
    EXPECT_THAT(list(), ElementsAre("in.tif", "pipe"));
}

TEST_F(TiffConvert, TooManyPlanesAreRefusedWithTheNameOfTheOutput) {
    expectFailure(fromRaw(std::string(32768, 'x'), "1,1,32768", "uint8"), 1, path("out.tif"), "32768",
                  "32767");
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

TEST_F(TiffConvert, AnExistingOutputIsRefusedWithoutOverwrite) {
    create("out.tif", "earlier");
    expectFailure(fromRaw("ABCD", "2,2", "uint8"), 1, path("out.tif"), "exists", "--overwrite");
    EXPECT_EQ("earlier", read("out.tif"));
}

TEST_F(TiffConvert, AFileCanBeReplacedByItsOwnConversion) {
    writeTiff(_folder / "in.tif", {page(2, 1, 8, "ab"), page(2, 1, 8, "cd")});
    expectDone(
        runTool({"convert", path("in.tif"), path("in.tif"), "--overwrite", "--compression", "deflate"}));
    std::vector<TiffPage> const pages = readTiff(_folder / "in.tif");
    ASSERT_EQ(2U, pages.size());
    EXPECT_EQ(COMPRESSION_DEFLATE, pages[1].compression);
    EXPECT_EQ("abcd", pages[0].pixels + pages[1].pixels);
    EXPECT_THAT(list(), ElementsAre("in.tif"));
}

TEST_F(TiffConvert, TheOutputFormatGoesBeforeTheExtension) {
    expectDone(
        runTool(Arguments{"convert", create("in.raw", "ab"), path("tiff.dat"), "--output-format", "tiff"} +
                raw("2,1", "uint8")));
    EXPECT_EQ("ab", readTiff(_folder / "tiff.dat").at(0).pixels);
    expectDone(runTool({"convert", path("tiff.dat"), path("raw.tif"), "--format", "tiff", "--output-format",
                        "raw", "--header", create("header", "head")}));
    EXPECT_EQ("headab", read("raw.tif"));
}

TEST_F(TiffConvert, BigEndianRawPixelsAreSwappedOnTheirWay) {
    expectDone(fromRaw(std::string("\1\2\3\4", 4), "2,1", "uint16", {"--byte-order", "big"}));
    EXPECT_EQ("\2\1\4\3", readTiff(_folder / "out.tif").at(0).pixels);
}

TEST_F(TiffConvert, TheNumberOfThreadsDoesNotChangeTheFile) {
    std::string const pixels = countingBytes(200 * 150 * 3 * 12, 5);
    create("in.raw", pixels);
    expectDone(runTool(Arguments{"convert", path("in.raw"), path("in.tif"), "--compression", "deflate"} +
                       raw("200,150,12,3", "uint8")));
    for (char const* const threads : {"1", "2", "16"}) {
        for (char const* const compression : {"none", "lzw"}) {
            expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--overwrite", "--threads",
                                threads, "--compression", compression}));
            EXPECT_TRUE(backToRaw() == pixels) << threads << ", " << compression;
        }
    }
}

} // namespace velmo::test
