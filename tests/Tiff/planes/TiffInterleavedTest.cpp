// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

constexpr eTiffCompression g_pageCompressions[] = {eTC_None, eTC_Lzw, eTC_Deflate};

/// Pages of 50 x 90 pixels of three bytes: strips of 54 and 36 rows.
constexpr PlaneSizes g_sizes{50, 90, 2, 1, 2};
constexpr vlUInt64 g_stripPixels = 2700;
constexpr vlUInt64 g_nbInterleavedPixels = 4500;

constexpr PixelRun g_runs[] = {{1, 0, 1, 0, 1},
                               {1, 0, 1, 17, 100},
                               {1, 0, 1, 0, g_stripPixels},
                               {1, 0, 1, g_stripPixels - 1, 2},
                               {1, 0, 1, g_stripPixels - 400, 1000},
                               {1, 0, 1, g_stripPixels, g_nbInterleavedPixels - g_stripPixels},
                               {1, 0, 1, g_stripPixels + 33, 400},
                               {1, 0, 1, g_nbInterleavedPixels - 1, 1},
                               {1, 0, 1, 3, g_nbInterleavedPixels - 3},
                               {1, 0, 1, 0, g_nbInterleavedPixels}};

Channels noiseOf(std::size_t nbChannels, vlUInt64 nbBytes, unsigned int seed = 1) {
    Channels channels;
    for (std::size_t channel = 0; channel < nbChannels; ++channel) {
        channels.push_back(noise(nbBytes, 10 * seed + static_cast<unsigned int>(channel)));
    }
    return channels;
}

Channels cut(Channels const& channels, vlUInt64 begin, vlUInt64 nbBytes) {
    Channels parts;
    for (std::string const& channel : channels) {
        parts.push_back(channel.substr(begin, nbBytes));
    }
    return parts;
}

class TiffInterleavedTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {
  protected:
    Planes createExample() const {
        return createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, g_sizes), GetParam());
    }
};

using TiffInterleavedPagesTest = TiffTest;

} // namespace

TEST_P(TiffInterleavedTest, AllPagesAreWrittenAndReadBack) {
    Planes const planes = createExample();
    std::vector<std::string> expected;
    for (unsigned int page = 0; page < 4; ++page) {
        Channels const channels = noiseOf(3, g_nbInterleavedPixels, page);
        planes.writeRgb(planes.wholePlane(page % 2, 0, page / 2), channels);
        expected.push_back(interleave(channels, 1));
        EXPECT_TRUE(planes.readRgb(planes.wholePlane(page % 2, 0, page / 2)) == channels) << page;
    }
    expectDirectories(_path, expected);
    EXPECT_TRUE(openPlanes(_path).readRgb(planes.wholePlane(1, 0, 1)) ==
                noiseOf(3, g_nbInterleavedPixels, 3));
}

TEST_P(TiffInterleavedTest, PartsAreReadExactly) {
    Channels const channels = noiseOf(3, g_nbInterleavedPixels);
    Planes const planes = createExample();
    planes.writeRgb(planes.wholePlane(1, 0, 1), channels);
    for (PixelRun const& run : g_runs) {
        EXPECT_TRUE(planes.readRgb(run) == cut(channels, run.start, run.count))
            << run.start << '+' << run.count;
    }
}

TEST_P(TiffInterleavedTest, PartsAreWrittenAndAllOtherPixelsStay) {
    Channels channels = noiseOf(3, g_nbInterleavedPixels);
    Planes const planes = createExample();
    planes.writeRgb(planes.wholePlane(1, 0, 1), channels);
    unsigned int seed = 10;
    for (PixelRun const& run : g_runs) {
        Channels const parts = noiseOf(3, run.count, ++seed);
        planes.writeRgb(run, parts);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            channels[channel].replace(run.start, run.count, parts[channel]);
        }
        EXPECT_TRUE(readDirectoryPixels(_path, 3) == interleave(channels, 1))
            << run.start << '+' << run.count;
    }
    EXPECT_TRUE(readDirectoryPixels(_path, 2) == std::string(3 * g_nbInterleavedPixels, '\0'));
}

TEST_P(TiffInterleavedTest, RgbaHasFourChannelsOfWhichAReaderMayLeaveTheLast) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgba, eIBT_UInt16, g_sizes);
    Planes const planes = createPlanes(_path, pGeometry, GetParam());
    Channels const channels = noiseOf(4, 2 * g_nbInterleavedPixels);
    planes.writeRgb(planes.wholePlane(1), channels); // the first access to the new file
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == interleave(channels, 2));
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    Channels colors(3);
    EXPECT_THAT(planes.tryReadRgb(planes.wholePlane(1), colors), Succeeds());
    EXPECT_TRUE(colors == Channels(channels.begin(), channels.begin() + 3));
}

TEST_P(TiffInterleavedTest, ChannelsAndPagesAreTheSamePixels) {
    Planes const planes = createExample();
    Channels const channels = noiseOf(3, g_nbInterleavedPixels);
    for (unsigned int channel = 0; channel < 3; ++channel) {
        planes.writePlane(channels[channel], 1, channel, 0);
    }
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    planes.writeRgb(planes.wholePlane(0, 0, 1), {channels[2], channels[0], channels[1]});
    EXPECT_TRUE(planes.readPlane(0, 1, 1) == channels[0]);
}

TEST_P(TiffInterleavedTest, NoPixelsAreNoFailureAndTouchNoStrip) {
    Planes const planes = createExample();
    std::string const bytes = readFile(_path);
    planes.writeRgb({1, 0, 0, 40, 0}, Channels(3));
    EXPECT_EQ(findText(planes.pTiff, TIFFTAG_PAGENAME), "T=0 Z=1");
    planes.readRgb({1, 0, 1, 40, 0});
    EXPECT_EQ(findText(planes.pTiff, TIFFTAG_PAGENAME), "T=1 Z=1");
    EXPECT_TRUE(readFile(_path) == bytes);
}

TEST_P(TiffInterleavedTest, AHandleOfLibtiffAloneWorksAsWell) {
    ImageGeometryPtr const pGeometry = createExample().pGeometry;
    Planes const planes = plainPlanes(_path, "r+", pGeometry);
    Channels channels = noiseOf(3, g_nbInterleavedPixels);
    planes.writeRgb(planes.wholePlane(1), channels);
    planes.writeRgb({1, 0, 0, 2690, 3}, Channels(3, "abc"));
    for (std::string& channel : channels) {
        channel.replace(2690, 3, "abc");
    }
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == interleave(channels, 1));
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffInterleavedTest, testing::ValuesIn(g_pageCompressions));

TEST_F(TiffInterleavedPagesTest, AForeignBigEndianFileWithPredictorIsReadAndWrittenInParts) {
    Directory directory = stripDirectory(20, 11, 4, COMPRESSION_LZW, 4, 16);
    directory.tags[TIFFTAG_PREDICTOR] = std::uint16_t(PREDICTOR_HORIZONTAL);
    directory.pixels = noise(directory.countBytes());
    writeTiff(_path, {directory, directory, directory}, "wb");
    Channels channels = pickChannels(directory.pixels, 4, 2);
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_TRUE(planes.readRgb({1, 0, 0, 75, 100}) == cut(channels, 150, 200));
    planes.writeRgb({1, 0, 0, 75, 100}, noiseOf(4, 200));
    for (std::size_t channel = 0; channel < 4; ++channel) {
        channels[channel].replace(150, 200, noiseOf(4, 200)[channel]);
    }
    expectDirectories(_path, {directory.pixels, interleave(channels, 2), directory.pixels});
}

TEST_F(TiffInterleavedPagesTest, DirectoriesAreCountedModulo65536) {
    Planes const planes = createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3, 2}));
    Channels const channels = {"abcdefghijkl", "mnopqrstuvwx", "ABCDEFGHIJKL"};
    planes.writeRgb({65537, 0, 0, 0, 12}, channels);
    EXPECT_EQ(readDirectoryPixels(_path, 1), interleave(channels, 1));
    EXPECT_EQ(planes.readRgb({1, 0, 32768, 0, 12}), channels);
}

} // namespace velmo::image::file
