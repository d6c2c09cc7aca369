// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"
#include "planes/TiffPlaneFixture.h"
#include <sys/mman.h>
#include <unistd.h>

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

TEST_F(TiffAbsentSamplesTest, AReadBackThatReachesTheEndOfTheRunIsEnough) {
    open("r+").write({0, 1, 0, 2, 2}, "xy");
    std::string expected = _pixels.substr(0, g_nbRowBytes);
    expected[7] = 'x';
    expected[10] = 'y';
    EXPECT_EQ(readStrip().substr(0, g_nbRowBytes), expected);
    Channels const channels = pickChannels(noise(g_nbRowBytes), 3, 1);
    open("r+").writeRgb({0, 0, 0, 0, 4}, channels);
    EXPECT_EQ(readStrip().substr(0, g_nbRowBytes), interleave(channels, 1));
}

TEST_F(TiffAbsentSamplesTest, AShorterReadBackStopsTheWriteOfOneChannelAndOfAll) {
    std::string const before = readFile(_path);
    for (PixelRun const& run : {PixelRun{0, 0, 0, 0, 5}, PixelRun{0, 0, 0, 4, 1}, PixelRun{0, 0, 0, 1, 11}}) {
        EXPECT_THAT(open("r+").tryWriteRgb(run), FailsLike(readStripFailed(0, run, _path)));
        PixelRun const channel = {0, 2, 0, run.start, run.count};
        EXPECT_THAT(open("r+").tryWrite(channel), FailsLike(readStripFailed(0, channel, _path)));
        EXPECT_TRUE(readFile(_path) == before);
    }
}

namespace {

/// Takes the pages behind the heap, so that the C library has to look for memory elsewhere: `errno` says that
/// there was none although the allocation succeeds.
bool blockHeap() {
    constexpr std::uintptr_t pageSize = 4096;
    auto const end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    void* const wanted = reinterpret_cast<void*>((end + pageSize - 1) / pageSize * pageSize);
    return mmap(wanted, pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0) ==
           wanted;
}

class TiffOpeningMemory : public TiffTest {};

} // namespace

TEST_F(TiffOpeningMemory, ASoundFileOpensWhereTheHeapCannotGrow) {
    std::vector<RawDirectory> directories(3000, greyDirectory());
    directories[0].set(TIFFTAG_IMAGEDESCRIPTION, ascii("a text that libtiff has to hold"));
    directories[0].set(TIFFTAG_SOFTWARE, ascii("another one"));
    writeRawTiff(_path, directories);
    std::string const outcome = inChild([&]() -> std::string {
        if (!blockHeap()) {
            return "the heap could not be blocked";
        }
        for (unsigned int opening = 0; opening < 10; ++opening) {
            OpenedTiff const opened(_path);
            if (!opened.result) {
                return "opening " + std::to_string(opening) + ": " + opened.result.getMessage();
            }
        }
        return "all opened";
    });
    EXPECT_EQ(outcome, "all opened");
}

namespace {

/// A first directory of so many samples that neither its colour nor its configuration would be supported.
RawDirectory makeSampled(unsigned int samples) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_SAMPLESPERPIXEL, shorts({samples}));
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_SEPARATED}));
    return directory;
}

using TiffOpeningSamples = TiffTest;

} // namespace

TEST_F(TiffOpeningSamples, NumbersFrom32768AreNegativeAndSoNotAboveOne) {
    for (unsigned int const samples : {32768U, 32769U, 40000U, 65535U}) {
        SCOPED_TRACE(samples);
        writeRawTiff(_path, {makeSampled(samples)});
        OpenedTiff const opened(_path);
        ASSERT_THAT(opened.result, Succeeds());
        EXPECT_EQ(opened.pGeometry->getColorGeometryType(), eCGT_Grey);
        EXPECT_EQ(opened.pGeometry->getSizeC(), 1U);
        EXPECT_EQ(opened.pGeometry->getPlanNbPixels(), 12U);
    }
}

TEST_F(TiffOpeningSamples, NumbersUpTo32767AreAboveOne) {
    for (unsigned int const samples : {2U, 5U, 32767U}) {
        SCOPED_TRACE(samples);
        RawDirectory directory = makeSampled(samples);
        directory.set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_CONTIG}));
        writeRawTiff(_path, {directory});
        EXPECT_THAT(OpenedTiff(_path).result,
                    FailsWith("Un supported photometric interpretation value 5  with " +
                              std::to_string(samples) + " samples per pixels for file " + _path.string()));
    }
}

} // namespace velmo::image::file
