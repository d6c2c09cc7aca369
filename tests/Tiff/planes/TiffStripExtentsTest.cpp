// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <boost/filesystem/operations.hpp>
#include <ctime>

namespace velmo::image::file {

namespace {

OpenRequest const g_forExtents = {eIAM_ReadWrite, eTDM_Volume, eTBM_Default};

/// Black grey pixels of one byte.
void writeBlack(path const& path, std::uint16_t compression, std::uint32_t sizeX, std::uint32_t sizeY,
                std::uint32_t rowsPerStrip) {
    Directory directory;
    directory.sizeX = sizeX;
    directory.sizeY = sizeY;
    directory.compression = compression;
    directory.rowsPerStrip = rowsPerStrip;
    writeTiff(path, {directory});
}

using TiffStripExtentsTest = TiffTest;

class TiffHugeStripTest : public TiffTest, public testing::WithParamInterface<std::uint16_t> {};

constexpr std::uint32_t g_stripSizeX = 64;

/// Seconds of processor that the writing of a plane of so many strips takes.
double measureWrite(path const& path, std::uint32_t nbStrips) {
    writeBlack(path, COMPRESSION_LZW, g_stripSizeX, nbStrips, 1);
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

TEST_P(TiffHugeStripTest, AFileThatIsSmallOnDiskIsWrittenAndReadBack) {
    constexpr std::uint32_t size = 10000;
    writeBlack(_path, GetParam(), size, size, size);
    ASSERT_LT(boost::filesystem::file_size(_path), 1000000U);
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
    double const few = std::min(measureWrite(_path, 10000), measureWrite(_path, 10000));
    double const many = std::min(measureWrite(_path, 40000), measureWrite(_path, 40000));
    RecordProperty("secondsOfFew", std::to_string(few));
    RecordProperty("secondsOfMany", std::to_string(many));
    EXPECT_LT(many, 7 * few) << "four times is in proportion";
}

} // namespace velmo::image::file
