// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

using TiffPlaneDataForeignTest = TiffTest;

struct Coding {
    char const* name;
    std::uint16_t compression;
    std::uint16_t predictor;
    std::uint16_t bits;
    std::uint16_t sampleFormat;
    std::uint16_t samples;
    char const* mode;
};

void PrintTo(Coding const& coding, std::ostream* pStream) {
    *pStream << coding.name;
}

constexpr Coding g_codings[] = {
    {"None8", COMPRESSION_NONE, 0, 8, 1, 1, "w"},
    {"None16BigEndian", COMPRESSION_NONE, 0, 16, 1, 1, "wb"},
    {"None32BigTiff", COMPRESSION_NONE, 0, 32, 1, 1, "w8"},
    {"Lzw8", COMPRESSION_LZW, PREDICTOR_NONE, 8, 1, 1, "w"},
    {"Lzw8Predictor", COMPRESSION_LZW, PREDICTOR_HORIZONTAL, 8, 1, 1, "w"},
    {"Lzw16PredictorBigEndian", COMPRESSION_LZW, PREDICTOR_HORIZONTAL, 16, 2, 1, "wb"},
    {"Lzw32Predictor", COMPRESSION_LZW, PREDICTOR_HORIZONTAL, 32, 1, 1, "w"},
    {"LzwFloatPredictor", COMPRESSION_LZW, PREDICTOR_FLOATINGPOINT, 32, 3, 1, "w"},
    {"Deflate8", COMPRESSION_ADOBE_DEFLATE, PREDICTOR_NONE, 8, 1, 1, "w"},
    {"Deflate16Predictor", COMPRESSION_ADOBE_DEFLATE, PREDICTOR_HORIZONTAL, 16, 1, 1, "w"},
    {"Deflate16BigEndian", COMPRESSION_DEFLATE, PREDICTOR_NONE, 16, 1, 1, "wb"},
    {"DeflateFloatPredictor", COMPRESSION_DEFLATE, PREDICTOR_FLOATINGPOINT, 32, 3, 1, "w"},
    {"DeflateFloatBigEndian", COMPRESSION_DEFLATE, PREDICTOR_NONE, 32, 3, 1, "wb"},
    {"PackBits8", COMPRESSION_PACKBITS, 0, 8, 1, 1, "w"},
    {"NoneRgb16BigEndian", COMPRESSION_NONE, 0, 16, 1, 3, "wb"},
    {"LzwRgb8Predictor", COMPRESSION_LZW, PREDICTOR_HORIZONTAL, 8, 1, 3, "w"},
    {"DeflateRgba16PredictorBigEndian", COMPRESSION_DEFLATE, PREDICTOR_HORIZONTAL, 16, 1, 4, "wb"},
    {"DeflateRgbFloat", COMPRESSION_ADOBE_DEFLATE, PREDICTOR_NONE, 32, 3, 3, "w"},
};

/// Rows of 40 pixels, 11 of them in strips of 4, 4 and 3.
Directory makeDirectory(Coding const& coding, unsigned int seed) {
    Directory directory = stripDirectory(40, 11, 4, coding.compression, coding.samples, coding.bits);
    directory.tags[TIFFTAG_SAMPLEFORMAT] = coding.sampleFormat;
    directory.tags[TIFFTAG_PAGENAME] = "page " + std::to_string(seed);
    if (coding.predictor != 0) {
        directory.tags[TIFFTAG_PREDICTOR] = coding.predictor;
    }
    directory.pixels = noise(directory.countBytes(), seed);
    return directory;
}

constexpr vlUInt64 g_nbForeignPixels = 440;
constexpr PixelRun g_foreignRuns[] = {{1, 0, 0, 0, g_nbForeignPixels},
                                      {1, 0, 0, 0, 1},
                                      {1, 0, 0, 45, 20},
                                      {1, 0, 0, 45, 200},
                                      {1, 0, 0, 160, 160},
                                      {1, 0, 0, 150, 20},
                                      {1, 0, 0, 325, 90},
                                      {1, 0, 0, 439, 1},
                                      {1, 0, 0, 100, 340}};

class TiffPlaneDataCodingTest : public TiffTest, public testing::WithParamInterface<Coding> {
  protected:
    TiffPlaneDataCodingTest() {
        for (unsigned int page = 0; page < 3; ++page) {
            _directories.push_back(makeDirectory(GetParam(), page));
        }
        writeTiff(_path, _directories, GetParam().mode);
    }

    vlUInt64 sampleSize() const { return GetParam().bits / 8U; }
    Channels channelsOf(std::size_t page) const {
        return pickChannels(_directories[page].pixels, GetParam().samples, sampleSize());
    }

    std::vector<Directory> _directories;
};

} // namespace

TEST_P(TiffPlaneDataCodingTest, ReadsDeliverExactlyTheirPixels) {
    Planes const planes = openPlanes(_path);
    Channels const channels = channelsOf(1);
    for (PixelRun run : g_foreignRuns) {
        for (run.c = 0; run.c < channels.size(); ++run.c) {
            EXPECT_TRUE(planes.read(run) ==
                        channels[run.c].substr(run.start * sampleSize(), run.count * sampleSize()))
                << run.start << '+' << run.count << " of channel " << run.c;
        }
    }
}

TEST_P(TiffPlaneDataCodingTest, WritesKeepAllOtherPixelsAndDirectories) {
    Channels channels = channelsOf(1);
    unsigned int seed = 10;
    {
        Planes const planes = openPlanesForWriting(_path);
        for (PixelRun run : g_foreignRuns) {
            run.c = seed % channels.size();
            std::string const pixels = noise(planes.countBytes(run), ++seed);
            planes.write(run, pixels);
            channels[run.c].replace(run.start * sampleSize(), pixels.size(), pixels);
        }
    }
    expectDirectories(_path,
                      {_directories[0].pixels, interleave(channels, sampleSize()), _directories[2].pixels});
    for (std::uint16_t page = 0; page < 3; ++page) {
        EXPECT_EQ(findText(openPlain(_path, "r", page), TIFFTAG_PAGENAME), "page " + std::to_string(page));
    }
}

TEST_P(TiffPlaneDataCodingTest, AWholePlaneMayBeWrittenThroughAHandleOfLibtiffAlone) {
    ImageGeometryPtr const pGeometry = openPlanes(_path).pGeometry;
    Channels channels;
    {
        Planes const planes = plainPlanes(_path, "r+", pGeometry);
        for (unsigned int channel = 0; channel < GetParam().samples; ++channel) {
            channels.push_back(noise(g_nbForeignPixels * sampleSize(), 20 + channel));
            planes.writePlane(channels.back(), 1, channel);
            EXPECT_TRUE(planes.readPlane(1, channel) == channels.back());
        }
    }
    expectDirectories(_path,
                      {_directories[0].pixels, interleave(channels, sampleSize()), _directories[2].pixels});
}

INSTANTIATE_TEST_SUITE_P(Codings, TiffPlaneDataCodingTest, testing::ValuesIn(g_codings),
                         testing::PrintToStringParamName());

TEST_F(TiffPlaneDataForeignTest, AFileOfRowsPerStripBeyondItsHeightIsOneStrip) {
    Directory directory = makeDirectory(g_codings[0], 1);
    directory.rowsPerStrip = 1000;
    writeTiff(_path, {directory});
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_EQ(planes.readPlane(), directory.pixels);
    planes.write({0, 0, 0, 100, 3}, "abc");
    EXPECT_EQ(readDirectoryPixels(_path, 0), directory.pixels.replace(100, 3, "abc"));
}

TEST_F(TiffPlaneDataForeignTest, AFileWithoutRowsPerStripReadsAsOneStrip) {
    RawDirectory const directory = greyDirectory(100, 150).without(TIFFTAG_ROWSPERSTRIP);
    writeRawTiff(_path, {directory});
    Planes const planes = openPlanes(_path);
    EXPECT_TRUE(planes.readPlane() == directory.pixels);
    EXPECT_TRUE(planes.read({0, 0, 0, 8150, 3000}) == directory.pixels.substr(8150, 3000));
}

TEST_F(TiffPlaneDataForeignTest, AnUncompressedLastStripOfFullSizeIsReadForItsRows) {
    Directory directory = makeDirectory(g_codings[0], 1);
    writeTiff(_path, {directory});
    {
        TiffPtr const pTiff = openPlain(_path, "r+");
        std::string strip(160, 'x');
        EXPECT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 2, strip.data(), 160), 160);
    }
    EXPECT_EQ(openPlanes(_path).readPlane(), directory.pixels.replace(320, 120, 120, 'x'));
}

TEST_F(TiffPlaneDataForeignTest, BitsInTheOtherOrderAreTurned) {
    for (Coding const& coding : {g_codings[0], g_codings[1], g_codings[3], g_codings[8]}) {
        Directory directory = makeDirectory(coding, 1);
        directory.tags[TIFFTAG_FILLORDER] = std::uint16_t(FILLORDER_LSB2MSB);
        writeTiff(_path, {directory}, coding.mode);
        EXPECT_TRUE(openPlanes(_path).readPlane() == directory.pixels) << coding.name;
        Planes planes = openPlanesForWriting(_path);
        std::string const pixels = noise(planes.countBytes({0, 0, 0, 70, 300}), 9);
        planes.write({0, 0, 0, 70, 300}, pixels);
        planes.pTiff.reset();
        directory.pixels.replace(70 * coding.bits / 8, pixels.size(), pixels);
        EXPECT_TRUE(readDirectoryPixels(_path, 0) == directory.pixels) << coding.name;
    }
}

TEST_F(TiffPlaneDataForeignTest, TilesAreAFailureInLibtiffsWords) {
    std::string tile = noise(256);
    {
        TiffPtr const pTiff = openPlain(_path, "w");
        for (auto const& [tag, value] : std::map<std::uint32_t, int>{{TIFFTAG_IMAGEWIDTH, 16},
                                                                     {TIFFTAG_IMAGELENGTH, 16},
                                                                     {TIFFTAG_BITSPERSAMPLE, 8},
                                                                     {TIFFTAG_PHOTOMETRIC, 1},
                                                                     {TIFFTAG_TILEWIDTH, 16},
                                                                     {TIFFTAG_TILELENGTH, 16}}) {
            TIFFSetField(pTiff.get(), tag, value);
        }
        EXPECT_EQ(TIFFWriteEncodedTile(pTiff.get(), 0, tile.data(), 256), 256);
    }
    std::string const before = readFile(_path);
    Planes planes = plainPlanes(_path, "r+", makeGeometry(eIBT_UInt8, {16, 16}));
    PixelRun const run = planes.wholePlane();
    EXPECT_THAT(planes.tryRead(run), FailsInWords(readStripFailed(0, run, _path)));
    EXPECT_THAT(planes.tryRead(run), FailsLike("tiled image"));
    EXPECT_THAT(planes.tryWrite(run), FailsInWords(getTagFailed("TIFFTAG_ROWSPERSTRIP", _path)));
    planes.pTiff.release(); // NOLINT(bugprone-unused-return-value): it is closed
    EXPECT_TRUE(readFile(_path) == before);
}

TEST_F(TiffPlaneDataForeignTest, EachTimeStepOfASequenceHasItsOwnType) {
    Coding const wide = {"", COMPRESSION_LZW, PREDICTOR_HORIZONTAL, 32, 3, 1, "w"};
    std::vector<Directory> directories = {makeDirectory(g_codings[0], 1), makeDirectory(g_codings[5], 2),
                                          makeDirectory(wide, 3)};
    directories[2].tags[TIFFTAG_PREDICTOR] = std::uint16_t(PREDICTOR_FLOATINGPOINT);
    writeTiff(_path, directories);
    Planes const planes = openPlanes(_path, {eIAM_ReadWrite, eTDM_Temporal});
    for (vlUInt64 t = 0; t < 3; ++t) {
        ImageGeometryPtr const pOwn =
            makeGeometry(planes.pGeometry->getPlanGeometry(t).getBufferType(), {40, 11, 1, 1, 3});
        std::string pixels(directories[t].pixels.size(), '\0');
        EXPECT_THAT(readTiffData(planes.pTiff.get(), _path, *planes.pGeometry, 0, 0, t, 0, g_nbForeignPixels,
                                 pixels.data()),
                    Succeeds());
        EXPECT_TRUE(pixels == directories[t].pixels) << t;
        directories[t].pixels = noise(pixels.size(), 30);
        EXPECT_THAT(writeTiffData(planes.pTiff.get(), _path, *pOwn, 0, 0, t, 0, g_nbForeignPixels,
                                  directories[t].pixels.data()),
                    Succeeds());
    }
    expectDirectories(_path, {directories[0].pixels, directories[1].pixels, directories[2].pixels});
}

TEST_F(TiffPlaneDataForeignTest, ALastDeflateStripOfFullSizeIsReadRight) {
    for (int const compression : {COMPRESSION_DEFLATE, COMPRESSION_ADOBE_DEFLATE}) {
        for (char const value : {'\xFF', '\x11'}) {
            Directory directory = makeDirectory(g_codings[8], 1);
            directory.compression = static_cast<std::uint16_t>(compression);
            directory.pixels.assign(directory.countBytes(), value);
            writeTiff(_path, {directory});
            {
                TiffPtr const pTiff = openPlain(_path, "r+");
                std::string strip(160, value); // 40 bytes more than the strip's rows have
                EXPECT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 2, strip.data(), 160), 160);
            }
            EXPECT_TRUE(openPlanes(_path).readPlane() == directory.pixels);
            EXPECT_TRUE(openPlanes(_path).read({0, 0, 0, 330, 100}) == std::string(100, value));
            openPlanesForWriting(_path).write({0, 0, 0, 330, 2}, "ab");
            EXPECT_TRUE(openPlanes(_path).readPlane() == directory.pixels.replace(330, 2, "ab"));
        }
    }
}

} // namespace velmo::image::file
