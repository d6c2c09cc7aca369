// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffStrips.h"
#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <sys/resource.h>

namespace velmo::image::file {

namespace {

constexpr unsigned int g_hugeSide = 60000; ///< of a plane of 3.6 GB
constexpr std::uint64_t g_nbStripBytes = 100;
constexpr unsigned int g_judgedCodecs[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE,
                                           COMPRESSION_PACKBITS};
constexpr unsigned int g_otherCodecs[] = {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX4};

/// Files of one strip that takes `nbBytes` bytes.
class TiffStripCapacityTest : public TiffTest {
  protected:
    void writeStrip(unsigned int side, unsigned int compression, std::size_t nbBytes,
                    std::uint64_t nbAnnounced) const {
        RawDirectory directory = greyDirectory();
        directory.set(TIFFTAG_IMAGEWIDTH, longs({side})).set(TIFFTAG_IMAGELENGTH, longs({side}));
        directory.set(TIFFTAG_ROWSPERSTRIP, longs({side})).set(TIFFTAG_COMPRESSION, shorts({compression}));
        directory.set(TIFFTAG_STRIPBYTECOUNTS, longs({nbAnnounced}));
        directory.pixels = noise(nbBytes);
        writeRawTiff(_path, {directory});
    }

    void writeStrip(unsigned int compression, std::size_t nbBytes) const {
        writeStrip(1000, compression, nbBytes, nbBytes);
    }

    /// Whether the strip of the file can hold so many bytes.
    bool canHold(vlUInt64 nbBytes) const {
        OpenedTiff const opened(_path);
        EXPECT_THAT(opened.result, Succeeds());
        return static_cast<bool>(
            TiffStrips(opened.pTiff, {1000, 1000, 1000, 1}).requireEnoughBytes(0, nbBytes));
    }
};

} // namespace

TEST(TiffStripJustification, AByteOfTheFileStandsForNoMoreThan4096Bytes) {
    for (vlUInt64 const nbInFile : {vlUInt64(0), vlUInt64(1), vlUInt64(100), vlUInt64(1) << 40U}) {
        EXPECT_TRUE(isPlausibleStripSize(4096 * nbInFile, nbInFile));
        EXPECT_TRUE(isPlausibleStripSize(4096 * nbInFile + 4095, nbInFile));
        EXPECT_FALSE(isPlausibleStripSize(4096 * nbInFile + 4096, nbInFile));
    }
    EXPECT_TRUE(isPlausibleStripSize(0, 0));
}

TEST_F(TiffStripCapacityTest, AStripOf64KibibytesOrLessIsNotJudged) {
    writeStrip(COMPRESSION_ADOBE_DEFLATE, 1);
    EXPECT_TRUE(canHold(65536));
    EXPECT_FALSE(canHold(65537));
}

TEST_F(TiffStripCapacityTest, ALargerStripNeedsItsBytes) {
    for (unsigned int const compression : g_judgedCodecs) {
        SCOPED_TRACE(compression);
        writeStrip(compression, 243);
        EXPECT_TRUE(canHold(999423)); // 243 * 4096 + 4095
        EXPECT_FALSE(canHold(999424));
        writeStrip(compression, 244);
        EXPECT_TRUE(canHold(999424));
    }
}

TEST_F(TiffStripCapacityTest, OfOtherCodecsNothingIsKnown) {
    for (unsigned int const compression : g_otherCodecs) {
        SCOPED_TRACE(compression);
        writeStrip(compression, 1);
        EXPECT_TRUE(canHold(1000000));
    }
}

TEST_F(TiffStripCapacityTest, AnAnnouncedSizeCountsForNoMoreThanTheFile) {
    writeStrip(1000, COMPRESSION_LZW, 10, 4000000000);
    vlUInt64 const fileSize = boost::filesystem::file_size(_path);
    EXPECT_TRUE(canHold(4096 * fileSize));
    EXPECT_FALSE(canHold(4096 * fileSize + 4096));
}

TEST_F(TiffStripCapacityTest, AHandleOfLibtiffAloneIsNotJudged) {
    writeStrip(COMPRESSION_LZW, 1);
    EXPECT_TRUE(TiffStrips(openPlain(_path).get(), {1000, 1000, 1000, 1}).requireEnoughBytes(0, 1000000));
}

#ifdef VELMO_TEST_LIMITS_MEMORY

namespace {

/// What `work` returns in a child process that can take a gibibyte more.
std::string withAGibibyte(std::function<std::string()> const& work) {
    return inChild([&]() -> std::string {
        std::size_t nbPages = 0;
        std::ifstream("/proc/self/statm") >> nbPages;
        constexpr rlim_t pageSize = 4096;
        rlimit const limit{nbPages * pageSize + (rlim_t{1} << 30U), RLIM_INFINITY};
        return setrlimit(RLIMIT_AS, &limit) == 0 ? work() : "no limit";
    });
}

} // namespace

TEST_F(TiffStripCapacityTest, AStripThatCannotBeIsRefusedBeforeMemoryIsTakenForIt) {
    constexpr vlUInt64 last = vlUInt64{g_hugeSide} * g_hugeSide - 1;
    for (unsigned int const compression : g_judgedCodecs) {
        for (std::uint64_t const nbAnnounced : {g_nbStripBytes, std::uint64_t(3000000000)}) {
            SCOPED_TRACE(std::to_string(compression) + " " + std::to_string(nbAnnounced));
            writeStrip(g_hugeSide, compression, g_nbStripBytes, nbAnnounced);
            std::string const text = withAGibibyte([&] {
                Planes const planes = openPlanes(_path);
                return toText(planes.tryRead({0, 0, 0, last, 1}));
            });
            EXPECT_THAT(text, testing::StartsWith(readStripFailed(0, {}, _path)));
        }
    }
}

TEST_F(TiffStripCapacityTest, TheFirstRowsOfSuchAStripNeedLittleAndAreLeftToLibtiff) {
    writeStrip(g_hugeSide, COMPRESSION_LZW, g_nbStripBytes, g_nbStripBytes);
    Planes const planes = openPlanes(_path);
    std::string const text = withAGibibyte([&] { return toText(planes.tryRead({0, 0, 0, 0, 1})); });
    EXPECT_THAT(text, testing::StartsWith(readStripFailed(0, {}, _path) + "Tiff Error : "));
}

#endif

} // namespace velmo::image::file
