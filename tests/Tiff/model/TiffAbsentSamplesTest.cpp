// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_nbRowBytes = 12; ///< of 4 RGB pixels, which libtiff takes for the whole strip
constexpr std::size_t g_nbPageBytes = 36;

/// An RGB file of 4 x 3 pixels without SamplesPerPixel. libtiff assumes one sample: it takes the strip of 36
/// bytes for one of 12, so that every read of more gives a short count.
class TiffAbsentSamplesTest : public TiffTest {
  protected:
    TiffAbsentSamplesTest() {
        RawDirectory directory = colorDirectory();
        directory.without(TIFFTAG_SAMPLESPERPIXEL);
        writeRawTiff(_path, {directory});
        _pixels = directory.pixels;
    }

    Planes open(char const* mode) const {
        return plainPlanes(_path, mode, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3}));
    }

    /// The bytes of the strip as they lie in the file.
    std::string readStrip() const {
        std::uint64_t const offset = TIFFGetStrileOffset(openPlain(_path).get(), 0);
        return readFile(_path).substr(offset, g_nbPageBytes);
    }

    std::string _pixels;
};

} // namespace

TEST_F(TiffAbsentSamplesTest, CountAsThreeWhereAllChannelsAreRead) {
    Planes const planes = open("r");
    EXPECT_EQ(planes.readRgb({0, 0, 0, 0, 4}), pickChannels(_pixels.substr(0, g_nbRowBytes), 3, 1));
    EXPECT_THAT(planes.tryReadRgb(planes.wholePlane()),
                FailsLike(readStripFailed(0, planes.wholePlane(), _path)));
}

TEST_F(TiffAbsentSamplesTest, CountAsThreeWhereOneChannelIsRead) {
    Planes const planes = open("r");
    for (vlUInt64 channel = 0; channel < 3; ++channel) {
        std::string const pixels = planes.readPlane(0, channel);
        EXPECT_EQ(pixels.substr(0, 4), pickChannel(_pixels.substr(0, g_nbRowBytes), 3, channel, 1));
        EXPECT_EQ(pixels.substr(4), std::string(8, '\0')) << "what libtiff does not decode is black";
    }
}

TEST_F(TiffAbsentSamplesTest, CountAsThreeWhereAWholePageIsWritten) {
    Channels const channels = pickChannels(noise(g_nbPageBytes), 3, 1);
    Planes const planes = open("r+");
    planes.writeRgb(planes.wholePlane(), channels);
    EXPECT_EQ(readStrip(), interleave(channels, 1));
}

// A strip that is covered in part is read back first, and what is read back must reach the end of the run.

TEST_F(TiffAbsentSamplesTest, AReadBackThatReachesTheEndOfTheRunIsEnoughForAllChannels) {
    Channels const channels = pickChannels(noise(g_nbRowBytes), 3, 1);
    open("r+").writeRgb({0, 0, 0, 0, 4}, channels);
    EXPECT_EQ(readStrip().substr(0, g_nbRowBytes), interleave(channels, 1));
}

TEST_F(TiffAbsentSamplesTest, AReadBackThatReachesTheEndOfTheRunIsEnoughForOneChannel) {
    open("r+").write({0, 1, 0, 2, 2}, "xy");
    std::string expected = _pixels.substr(0, g_nbRowBytes);
    expected[7] = 'x';
    expected[10] = 'y';
    EXPECT_EQ(readStrip().substr(0, g_nbRowBytes), expected);
}

TEST_F(TiffAbsentSamplesTest, AShorterReadBackStopsTheWriteOfAllChannels) {
    std::string const before = readFile(_path);
    for (PixelRun const& run : {PixelRun{0, 0, 0, 0, 5}, PixelRun{0, 0, 0, 4, 1}, PixelRun{0, 0, 0, 1, 11}}) {
        EXPECT_THAT(open("r+").tryWriteRgb(run), FailsLike(readStripFailed(0, run, _path)));
        EXPECT_TRUE(readFile(_path) == before);
    }
}

TEST_F(TiffAbsentSamplesTest, AShorterReadBackStopsTheWriteOfOneChannel) {
    std::string const before = readFile(_path);
    for (PixelRun const& run : {PixelRun{0, 2, 0, 0, 5}, PixelRun{0, 0, 0, 4, 1}, PixelRun{0, 1, 0, 0, 12}}) {
        EXPECT_THAT(open("r+").tryWrite(run), FailsLike(readStripFailed(0, run, _path)));
        EXPECT_TRUE(readFile(_path) == before);
    }
}

} // namespace velmo::image::file
