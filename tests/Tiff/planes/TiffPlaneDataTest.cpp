// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

constexpr eTiffCompression g_planeCompressions[] = {eTC_None, eTC_Lzw, eTC_Deflate};

/// Planes of 100 x 200 pixels of one byte: strips of 81, 81 and 38 rows.
constexpr PlaneSizes g_planeSizes{100, 200, 2, 1, 2};
constexpr vlUInt64 g_planeStripPixels = 8100;
constexpr vlUInt64 g_nbPlanePixels = 20000;

constexpr PixelRun g_planeRuns[] = {
    {1, 0, 1, 0, 1},
    {1, 0, 1, 50, 100},
    {1, 0, 1, 0, g_planeStripPixels},
    {1, 0, 1, g_planeStripPixels, g_planeStripPixels},
    {1, 0, 1, g_planeStripPixels - 1, 2},
    {1, 0, 1, g_planeStripPixels - 30, g_planeStripPixels + 60},
    {1, 0, 1, 2 * g_planeStripPixels - 10, 500},
    {1, 0, 1, 2 * g_planeStripPixels + 17, 1000},
    {1, 0, 1, 2 * g_planeStripPixels, g_nbPlanePixels - 2 * g_planeStripPixels},
    {1, 0, 1, g_nbPlanePixels - 1, 1},
    {1, 0, 1, 7, g_nbPlanePixels - 7},
    {1, 0, 1, 0, g_nbPlanePixels}};

class TiffPlaneDataTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {
  protected:
    Planes createExample() const {
        return createPlanes(_path, makeGeometry(eIBT_UInt8, g_planeSizes), GetParam());
    }

    /// Four planes of noise, written in an order that is not theirs.
    Planes createNoise() const {
        Planes planes = createExample();
        for (unsigned int const directory : {2U, 0U, 3U, 1U}) {
            planes.writePlane(noise(g_nbPlanePixels, directory), directory % 2, 0, directory / 2);
        }
        return planes;
    }
};

using TiffPlaneDataRunsTest = TiffTest;

} // namespace

TEST_P(TiffPlaneDataTest, PlanesWrittenInAnyOrderLieInTheirDirectories) {
    Planes const planes = createNoise();
    expectDirectories(_path, {noise(g_nbPlanePixels, 0), noise(g_nbPlanePixels, 1), noise(g_nbPlanePixels, 2),
                              noise(g_nbPlanePixels, 3)});
    for (unsigned int directory = 0; directory < 4; ++directory) {
        EXPECT_TRUE(planes.readPlane(directory % 2, 0, directory / 2) == noise(g_nbPlanePixels, directory));
    }
}

TEST_P(TiffPlaneDataTest, WritesKeepAllOtherPixels) {
    Planes const planes = createNoise();
    std::string plane = noise(g_nbPlanePixels, 3);
    unsigned int seed = 10;
    for (PixelRun const& run : g_planeRuns) {
        std::string const pixels = noise(run.count, ++seed);
        planes.write(run, pixels);
        plane.replace(run.start, run.count, pixels);
        EXPECT_TRUE(readDirectoryPixels(_path, 3) == plane) << run.start << '+' << run.count;
    }
    expectDirectories(
        _path, {noise(g_nbPlanePixels, 0), noise(g_nbPlanePixels, 1), noise(g_nbPlanePixels, 2), plane});
}

TEST_P(TiffPlaneDataTest, EqualBytesAcrossTheLastRowKeepTheirValue) {
    for (char const value : {'\xFF', '\x01', '\x00'}) {
        std::string const plane(g_nbPlanePixels, value);
        Planes const planes = createExample();
        planes.writePlane(plane);
        EXPECT_TRUE(planes.readPlane() == plane);
        EXPECT_TRUE(openPlanes(_path).readPlane() == plane);
        EXPECT_TRUE(readDirectoryPixels(_path, 0) == plane);
        planes.write({0, 0, 0, g_nbPlanePixels - 300, 150}, std::string(150, '\x02'));
        std::string expected = plane;
        EXPECT_TRUE(planes.readPlane() == expected.replace(g_nbPlanePixels - 300, 150, 150, '\x02'));
    }
}

TEST_P(TiffPlaneDataTest, WhatIsWrittenIsSeenByOtherHandlesAtOnce) {
    Planes const planes = createExample();
    Planes const other = openPlanes(_path);
    planes.writePlane(noise(g_nbPlanePixels), 1, 0, 1);
    EXPECT_TRUE(readDirectoryPixels(_path, 3) == noise(g_nbPlanePixels));
    EXPECT_TRUE(other.readPlane(1, 0, 1) == noise(g_nbPlanePixels));
    planes.write({1, 0, 1, 5, 3}, "abc");
    EXPECT_EQ(readDirectoryPixels(_path, 3).substr(5, 3), "abc");
}

TEST_P(TiffPlaneDataTest, ClosingAddsNothingToWhatIsWritten) {
    Planes planes = createNoise();
    std::string const bytes = readFile(_path);
    planes.pTiff.reset();
    EXPECT_TRUE(readFile(_path) == bytes);
}

TEST_P(TiffPlaneDataTest, ReadingChangesNoByteOfAFileOpenForWriting) {
    createNoise();
    std::string const bytes = readFile(_path);
    {
        Planes const planes = openPlanesForWriting(_path);
        planes.readPlane(1, 0, 1);
        planes.read({0, 0, 1, 30, 40});
    }
    EXPECT_TRUE(readFile(_path) == bytes);
}

TEST_P(TiffPlaneDataTest, NoPixelsAreNoFailureAndMoveNothing) {
    Planes const planes = createNoise();
    std::string const bytes = readFile(_path);
    planes.write({1, 0, 0, 40, 0}, "");
    EXPECT_EQ(findText(planes.pTiff, TIFFTAG_PAGENAME), "T=0 C=0 Z=1");
    char untouched = 'u';
    EXPECT_THAT(readTiffData(planes.pTiff.get(), _path, *planes.pGeometry, 1, 0, 1, 40, 0, &untouched),
                Succeeds());
    EXPECT_EQ(findText(planes.pTiff, TIFFTAG_PAGENAME), "T=1 C=0 Z=1"); // it is set all the same
    EXPECT_EQ(untouched, 'u');
    EXPECT_TRUE(readFile(_path) == bytes);
}

TEST_P(TiffPlaneDataTest, TheStripsOfAPlaneLieInTheirOrderWhateverTheOrderOfWrites) {
    Planes const planes = createExample();
    std::string plane(g_nbPlanePixels, '\0');
    unsigned int seed = 0;
    for (vlUInt64 const start : {16200U, 0U, 8100U, 16200U, 100U, 9000U}) {
        std::string const pixels = noise(3800, ++seed);
        planes.write({1, 0, 0, start, 3800}, pixels);
        plane.replace(start, 3800, pixels);
    }
    planes.writePlane(plane, 1);
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == plane);
    TiffPtr const pTiff = openPlain(_path, "r", 1);
    EXPECT_LT(TIFFGetStrileOffset(pTiff.get(), 0), TIFFGetStrileOffset(pTiff.get(), 1));
    EXPECT_LT(TIFFGetStrileOffset(pTiff.get(), 1), TIFFGetStrileOffset(pTiff.get(), 2));
}

TEST_P(TiffPlaneDataTest, OneChannelOfRgbKeepsTheOthers) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgb, eIBT_UInt16, {50, 90, 2});
    Planes const planes = createPlanes(_path, pGeometry, GetParam());
    Channels channels;
    for (unsigned int channel = 0; channel < 3; ++channel) {
        channels.push_back(noise(9000, channel));
        planes.writePlane(channels[channel], 1, channel);
    }
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == interleave(channels, 2));
    EXPECT_TRUE(readDirectoryPixels(_path, 0) == std::string(27000, '\0'));
    planes.write({1, 1, 0, 1300, 1400}, noise(2800, 7));
    channels[1].replace(2600, 2800, noise(2800, 7));
    for (unsigned int channel = 0; channel < 3; ++channel) {
        EXPECT_TRUE(planes.readPlane(1, channel) == channels[channel]) << channel;
        EXPECT_TRUE(planes.read({1, channel, 0, 1290, 1501}) == channels[channel].substr(2580, 3002))
            << channel;
    }
}

TEST_P(TiffPlaneDataTest, TheFirstAccessToACreatedRgbaFileMayBeAWrite) {
    Planes const planes = createPlanes(_path, makeColorGeometry(eCGT_Rgba, eIBT_UInt8, {50, 90}), GetParam());
    planes.writePlane(noise(4500), 0, 3);
    EXPECT_TRUE(planes.readPlane(0, 3) == noise(4500));
    EXPECT_TRUE(pickChannel(readDirectoryPixels(_path, 0), 4, 3, 1) == noise(4500));
    EXPECT_TRUE(pickChannel(readDirectoryPixels(_path, 0), 4, 0, 1) == std::string(4500, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffPlaneDataTest, testing::ValuesIn(g_planeCompressions));

TEST_F(TiffPlaneDataRunsTest, ZVariesFastestThenTheChannelThenTheTime) {
    Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt16, {3, 2, 2, 3, 2}));
    std::vector<std::string> expected;
    for (unsigned int t = 0; t < 2; ++t) {
        for (unsigned int c = 0; c < 3; ++c) {
            for (unsigned int z = 0; z < 2; ++z) {
                expected.push_back(noise(12, 100 * t + 10 * c + z));
                planes.writePlane(expected.back(), z, c, t);
            }
        }
    }
    expectDirectories(_path, expected);
    EXPECT_EQ(planes.readPlane(1, 2, 0), expected[5]);
}

TEST_F(TiffPlaneDataRunsTest, RewritingACompressedPlaneDoesNotLetTheFileGrowForEver) {
    Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, g_planeSizes), eTC_Lzw);
    planes.writePlane(noise(g_nbPlanePixels), 1, 0, 1);
    std::uintmax_t const size = boost::filesystem::file_size(_path);
    for (unsigned int round = 0; round < 20; ++round) {
        planes.writePlane(noise(g_nbPlanePixels), 1, 0, 1);
    }
    EXPECT_EQ(boost::filesystem::file_size(_path), size);
}

} // namespace velmo::image::file
