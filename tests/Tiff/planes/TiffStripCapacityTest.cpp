// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffStrips.h"
#include "files/TiffImageFileFixture.h"
#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <ctime>

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
    return withLimit(RLIMIT_AS, velmo::test::measureAddressSpace() + (std::size_t{1} << 30U), work);
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

namespace {

constexpr vlUInt64 g_nbBoundStrips = 3;

/// A page of 4 x 6 pixels in three strips.
class TiffStripBoundsTest : public TiffTest, public testing::WithParamInterface<std::uint16_t> {
  protected:
    TiffStripBoundsTest() {
        Directory directory = stripDirectory(4, 6, 2, GetParam());
        directory.pixels = countingBytes(24);
        writeTiff(_path, {directory});
    }
};

} // namespace

TEST_P(TiffStripBoundsTest, AStripBehindTheLastIsNotWritable) {
    for (vlUInt64 const strip : {g_nbBoundStrips, g_nbBoundStrips + 1, vlUInt64(1) << 40U}) {
        Planes const planes = openPlanesForWriting(_path);
        TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1});
        EXPECT_FALSE(strips.requireWritable(strip));
    }
}

TEST_P(TiffStripBoundsTest, TheLastStripIsWritten) {
    std::string const pixels = noise(8);
    {
        Planes const planes = openPlanesForWriting(_path);
        TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1});
        EXPECT_EQ(strips.write(g_nbBoundStrips - 1, pixels.data()), 8);
    }
    EXPECT_EQ(readDirectoryPixels(_path, 0), countingBytes(16) + pixels);
}

INSTANTIATE_TEST_SUITE_P(Codecs, TiffStripBoundsTest,
                         testing::Values(COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE));

namespace {

OpenRequest const g_forExtents = {eIAM_ReadWrite, eTDM_Volume, eTBM_Default};

using TiffStripExtentsTest = TiffTest;

class TiffHugeStripTest : public TiffTest, public testing::WithParamInterface<std::uint16_t> {};

constexpr std::uint32_t g_stripSizeX = 64;

/// Seconds of processor that the writing of a plane of so many strips takes.
double measureWrite(path const& path, std::uint32_t nbStrips) {
    writeTiff(path, {stripDirectory(g_stripSizeX, nbStrips, 1, COMPRESSION_LZW)});
    std::string const pixels = noise(vlUInt64{g_stripSizeX} * nbStrips);
    TiffImageFile file;
    EXPECT_THAT(openFile(file, path, g_forExtents), Succeeds());
    std::clock_t const begin = std::clock();
    writePixels(file, wholePlane(file), pixels);
    std::clock_t const end = std::clock();
    EXPECT_TRUE(readPixels(file, wholePlane(file)) == pixels);
    file.clear();
    EXPECT_TRUE(readDirectoryPixels(path, 0) == pixels);
    return static_cast<double>(end - begin) / CLOCKS_PER_SEC;
}

} // namespace

TEST_F(TiffStripExtentsTest, SamplesInTheByteOrderOfTheMachineArePlain) {
    for (std::uint16_t const bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        for (bool const bSwapped : {false, true}) {
            Directory directory = stripDirectory(4, 6, 2, COMPRESSION_NONE, 1, bits);
            directory.pixels = noise(directory.countBytes());
            writeTiff(_path, {directory}, bSwapped ? "wb" : "wl");
            Planes const planes = openPlanes(_path);
            TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, bits / 8U});
            bool const bPlain = bits == 8 || !bSwapped;
            EXPECT_EQ(strips.countPlain(0, 2), bPlain ? 2U : 0U);
            EXPECT_EQ(strips.countPlain(1, 9), bPlain ? 2U : 0U); // there are no more
        }
    }
}

// The first and the last strip have no room for their new bytes. The one between them has, but must not stay
// before the first.
TEST_F(TiffStripExtentsTest, EncodedStripsAreInTheirOrderAndHaveTheirOwnSizes) {
    Directory directory = stripDirectory(4, 6, 2, COMPRESSION_PACKBITS);
    directory.pixels = std::string(8, '\0') + noise(8);
    writeTiff(_path, {directory});
    std::string const pixels = countingBytes(24);
    EncodedStrips encoded;
    for (std::size_t begin = 0; begin < pixels.size(); begin += 8) {
        encoded.bytes.push_back(std::byte{7}); // eight bytes as they are
        for (char const pixel : pixels.substr(begin, 8)) {
            encoded.bytes.push_back(std::byte(pixel));
        }
        encoded.ends.push_back(encoded.bytes.size());
    }
    {
        Planes const planes = openPlanesForWriting(_path);
        TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1});
        for (vlUInt64 strip = 0; strip < g_nbBoundStrips; ++strip) {
            EXPECT_EQ(strips.writeEncoded(strip, encoded), 8);
        }
    }
    EXPECT_EQ(readDirectoryPixels(_path, 0), pixels);
    TiffPtr const pTiff = openPlain(_path);
    for (std::uint32_t strip = 0; strip < g_nbBoundStrips; ++strip) {
        EXPECT_EQ(TIFFGetStrileByteCount(pTiff.get(), strip), 9U);
        EXPECT_GT(TIFFGetStrileOffset(pTiff.get(), strip),
                  strip == 0 ? 0 : TIFFGetStrileOffset(pTiff.get(), strip - 1));
    }
}

TEST_F(TiffStripExtentsTest, StripsAtGivenPlacesEndWithTheLastPlace) {
    writeTiff(_path, {stripDirectory(4, 6, 2)});
    Planes const planes = openPlanes(_path);
    TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1}, StripPlaces{{100, 108, 116}, {8, 8, 8}});
    EXPECT_EQ(strips.countPlain(0, 9), 3U);
}

TEST_P(TiffHugeStripTest, AFileThatIsSmallOnDiskIsWrittenAndReadBack) {
    constexpr std::uint32_t size = 9000; // libtiff needs leave for more than 64 MiB
    writeTiff(_path, {stripDirectory(size, size, size, GetParam())});
    ASSERT_LT(boost::filesystem::file_size(_path), 810000U);
    std::string const pixels(vlUInt64{size} * size, 'x');
    {
        TiffImageFile file;
        ASSERT_THAT(openFile(file, _path, g_forExtents), Succeeds());
        writePixels(file, wholePlane(file), pixels);
    }
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path), Succeeds());
    EXPECT_TRUE(readPixels(file, wholePlane(file)) == pixels);
}

INSTANTIATE_TEST_SUITE_P(Codecs, TiffHugeStripTest,
                         testing::Values(COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE), [](auto const& codec) {
                             return std::string(codec.param == COMPRESSION_LZW ? "Lzw" : "Deflate");
                         });

TEST_F(TiffStripExtentsTest, TheTimeOfAWriteGrowsWithTheStripsAndNoFaster) {
    double const few = std::min(measureWrite(_path, 5000), measureWrite(_path, 5000));
    double const many = std::min(measureWrite(_path, 20000), measureWrite(_path, 20000));
    RecordProperty("secondsOfFew", std::to_string(few));
    RecordProperty("secondsOfMany", std::to_string(many));
    EXPECT_LT(many, 7 * few) << "four times is in proportion";
}

} // namespace velmo::image::file
