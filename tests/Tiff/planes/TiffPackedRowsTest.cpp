// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

/// Packed rows, noise or what is given.
Directory makePacked(unsigned int sizeX, unsigned int sizeY, std::string const& pixels = "") {
    Directory directory = stripDirectory(sizeX, sizeY, 0, COMPRESSION_NONE, 1, 1);
    directory.pixels = pixels.empty() ? noise(directory.countBytes()) : pixels;
    return directory;
}

/// The pixels of packed rows, the most significant bit of a byte first, as a byte of 0 or 1 each.
std::string unpack(Directory const& directory) {
    std::string pixels;
    std::size_t const rowSize = (directory.sizeX + 7) / 8;
    for (std::size_t row = 0; row < directory.sizeY; ++row) {
        for (std::size_t column = 0; column < directory.sizeX; ++column) {
            int const byte = directory.pixels[row * rowSize + column / 8];
            pixels.push_back(static_cast<char>(byte >> (7 - column % 8) & 1));
        }
    }
    return pixels;
}

class TiffPackedRowsTest : public TiffTest {
  protected:
    Planes open(std::vector<Directory> const& directories, std::string const& mode = "w") const {
        writeTiff(_path, directories, mode);
        return openPlanes(_path);
    }
};

constexpr vlUInt64 g_wide = 600;

std::string readRowFailed(vlUInt64 row, PixelRun const& run, path const& path) {
    return "Failed to read data of row " + std::to_string(row) + " for directory z=" + std::to_string(run.z) +
           ", c=" + std::to_string(run.c) + ", t=" + std::to_string(run.t) + " of file " + path.string() +
           "\n";
}

} // namespace

TEST_F(TiffPackedRowsTest, TheNinthPixelIsTheTopBitOfTheSecondByte) {
    Planes const planes = open({makePacked(9, 3, {"\x00\x80\xFF\x00\x80\x80", 6})});
    EXPECT_EQ(planes.pGeometry->getBufferType(), eIBT_Binary);
    EXPECT_EQ(planes.readPlane(), std::string("\0\0\0\0\0\0\0\0\1"
                                              "\1\1\1\1\1\1\1\1\0"
                                              "\1\0\0\0\0\0\0\0\1",
                                              27));
    EXPECT_EQ(planes.read({0, 0, 0, 8, 1}), "\1");
    EXPECT_EQ(planes.read({0, 0, 0, 11, 0}), "");
    EXPECT_EQ(planes.read({0, 0, 0, 17, 2}), std::string("\0\1", 2));
}

TEST_F(TiffPackedRowsTest, RunsBelowColumn256BeginWhereTheyShould) {
    Directory const directory = makePacked(g_wide, 5);
    Planes const planes = open({directory});
    std::string const pixels = unpack(directory);
    for (PixelRun const& run :
         {PixelRun{0, 0, 0, 0, 3000}, PixelRun{0, 0, 0, 0, 1}, PixelRun{0, 0, 0, 255, 345},
          PixelRun{0, 0, 0, 3, 2}, PixelRun{0, 0, 0, 600, 600}, PixelRun{0, 0, 0, 1210, 590},
          PixelRun{0, 0, 0, 1213, 1787}, PixelRun{0, 0, 0, 100, 700}, PixelRun{0, 0, 0, 2400, 17}}) {
        EXPECT_TRUE(planes.read(run) == pixels.substr(run.start, run.count)) << run.start << '+' << run.count;
    }
}

TEST_F(TiffPackedRowsTest, ARunFromColumn300BeginsAtBit44) {
    Directory const directory = makePacked(g_wide, 5);
    Planes const planes = open({directory});
    std::string const pixels = unpack(directory);
    EXPECT_EQ(planes.read({0, 0, 0, 300, 200}), pixels.substr(44, 200));
    EXPECT_EQ(planes.read({0, 0, 0, 256, 30}), pixels.substr(0, 30));
    EXPECT_EQ(planes.read({0, 0, 0, 599, 1}), pixels.substr(87, 1));
    // the rows behind the first begin at their first column
    EXPECT_EQ(planes.read({0, 0, 0, 600 + 300, 1000}),
              pixels.substr(600 + 44, 300) + pixels.substr(1200, 700));
}

TEST_F(TiffPackedRowsTest, CompressedStripsAreReadFromTheirMiddle) {
    for (int const compression : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS,
                                  COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
        for (unsigned int const rowsPerStrip : {4U, 11U}) {
            Directory directory = makePacked(200, 11);
            directory.compression = static_cast<std::uint16_t>(compression);
            directory.rowsPerStrip = rowsPerStrip;
            Planes const planes = open({directory, directory});
            std::string const pixels = unpack(directory);
            EXPECT_TRUE(planes.readPlane() == pixels) << compression;
            for (vlUInt64 const start : {1010U, 210U, 2195U, 800U, 0U, 600U}) { // backward as well
                EXPECT_TRUE(planes.read({1, 0, 0, start, 5}) == pixels.substr(start, 5))
                    << compression << ' ' << start;
                EXPECT_TRUE(planes.read({0, 0, 0, start, 2200 - start}) == pixels.substr(start))
                    << compression << ' ' << start;
            }
        }
    }
}

TEST_F(TiffPackedRowsTest, NeitherByteOrderNorBlackNorTheOrderOfBitsInvertsOrTurnsPixels) {
    Directory directory = makePacked(37, 5);
    std::string const pixels = unpack(directory);
    EXPECT_EQ(open({directory}, "wb").readPlane(), pixels);
    directory.photometric = PHOTOMETRIC_MINISWHITE;
    EXPECT_EQ(open({directory}).readPlane(), pixels);
    directory.tags[TIFFTAG_FILLORDER] = std::uint16_t(FILLORDER_LSB2MSB);
    EXPECT_EQ(open({directory}).readPlane(), pixels);
}

TEST_F(TiffPackedRowsTest, EachDirectoryIsReadByItsOwnBits) {
    Directory const packed = makePacked(20, 6);
    Directory bytes = makePacked(20, 6);
    bytes.bits = 8;
    bytes.pixels = noise(120, 7);
    OpenRequest sequence;
    sequence.directoryMode = eTDM_Temporal;
    sequence.bufferMode = eTBM_Binary; // bytes are binary as well
    writeTiff(_path, {bytes, packed, bytes});
    Planes const planes = openPlanes(_path, sequence);
    for (int round = 0; round < 2; ++round) { // from whichever directory is current
        EXPECT_EQ(planes.readPlane(0, 0, 1), unpack(packed));
        EXPECT_EQ(planes.readPlane(0, 0, 0), bytes.pixels);
        EXPECT_EQ(planes.readPlane(0, 0, 2), bytes.pixels);
    }
    writeTiff(_path, {packed, bytes});
    Planes const reversed = openPlanes(_path, sequence);
    EXPECT_EQ(reversed.readPlane(0, 0, 1), bytes.pixels);
    EXPECT_EQ(reversed.readPlane(0, 0, 0), unpack(packed));
}

TEST_F(TiffPackedRowsTest, AFileCutShortNamesTheRowThatIsMissing) {
    RawDirectory const directory = greyDirectory(g_wide, 200, 1); // 75 bytes a row
    writeRawTiff(_path, {directory});
    Planes const planes = openPlanes(_path);
    boost::filesystem::resize_file(_path, boost::filesystem::file_size(_path) - 75 * 20);
    PixelRun const run{0, 0, 0, 190 * g_wide, 600};
    EXPECT_THAT(planes.tryRead(run), FailsInWords(readRowFailed(190, run, _path)));
    EXPECT_THAT(planes.tryRead(run), FailsLike("\nTiff Error : "));
}

TEST_F(TiffPackedRowsTest, ACompressedStripWithoutRowsPerStripIsReadFromItsMiddle) {
    std::string rows = noise(25 * 11);
    {
        TiffPtr const pTiff = openPlain(_path, "w");
        TIFFSetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, 200);
        TIFFSetField(pTiff.get(), TIFFTAG_IMAGELENGTH, 11);
        TIFFSetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(pTiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(pTiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        ASSERT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 0, rows.data(), 275), 275);
        rows = noise(25 * 11);
    }
    ASSERT_FALSE(findTag<std::uint32_t>(openPlain(_path), TIFFTAG_ROWSPERSTRIP));
    std::string const pixels = unpack(makePacked(200, 11, rows));
    Planes const planes = openPlanes(_path);
    EXPECT_TRUE(planes.read({0, 0, 0, 1000, 700}) == pixels.substr(1000, 700));
    EXPECT_TRUE(planes.read({0, 0, 0, 800, 5}) == pixels.substr(800, 5));
    EXPECT_TRUE(planes.readPlane() == pixels);
}

TEST_F(TiffPackedRowsTest, ARowBehindTheLastIsAFailure) {
    for (int const compression : {COMPRESSION_NONE, COMPRESSION_LZW}) {
        Directory directory = makePacked(200, 11);
        directory.compression = static_cast<std::uint16_t>(compression);
        Planes const planes = open({directory});
        for (vlUInt64 const row : {vlUInt64(11), vlUInt64(4294967296), vlUInt64(4294967299)}) {
            PixelRun const run{0, 0, 0, row * 200, 3};
            EXPECT_THAT(planes.tryRead(run), FailsLike(readRowFailed(row, run, _path))) << row;
        }
        PixelRun const run{0, 0, 0, 2190, 20};
        EXPECT_THAT(planes.tryRead(run), FailsLike(readRowFailed(11, run, _path)));
        constexpr vlUInt64 largest = NumericLimits<vlUInt64>::s_max;
        EXPECT_FALSE(planes.tryRead({0, 0, 0, largest - 9, 20}));
    }
}

} // namespace velmo::image::file
