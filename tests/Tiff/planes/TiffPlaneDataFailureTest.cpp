// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>

namespace velmo::image::file {

namespace {

using TiffPlaneDataFailureTest = TiffTest;

/// Planes of 100 x 200 pixels: strips of 81, 81 and 38 rows.
constexpr vlUInt64 g_nbLongPixels = 20000;

Directory makeLongDirectory(std::uint16_t compression = COMPRESSION_NONE) {
    Directory directory = stripDirectory(100, 200, 81, compression);
    directory.pixels = noise(g_nbLongPixels);
    return directory;
}

std::uint64_t findStrip(path const& path, std::uint32_t strip) {
    return TIFFGetStrileOffset(openPlain(path).get(), strip);
}

void spoil(path const& path, std::uint64_t offset, std::size_t nbBytes) {
    std::string bytes = readFile(path);
    writeFile(path, bytes.replace(offset, nbBytes, nbBytes, '\xFF'));
}

/// A compressed file of one strip, for which libtiff needs no rows per strip.
void writeWithoutRowsPerStrip(path const& path) {
    TiffPtr const pTiff = openPlain(path, "w");
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, 10);
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGELENGTH, 4);
    TIFFSetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(pTiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(pTiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    std::string pixels = countingBytes(40);
    EXPECT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 0, pixels.data(), 40), 40);
}

} // namespace

TEST_F(TiffPlaneDataFailureTest, ABareDirectoryBehindCreationHasNoBitsAndClosesTheHandle) {
    Planes planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3}));
    EXPECT_THAT(planes.tryRead(planes.wholePlane()),
                FailsInWords(getTagFailed("TIFFTAG_BITSPERSAMPLE", _path)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    planes.pTiff.release(); // NOLINT(bugprone-unused-return-value): it is closed
}

TEST_F(TiffPlaneDataFailureTest, AFileWithoutRowsPerStripReadsAndAWriteClosesTheHandle) {
    writeWithoutRowsPerStrip(_path);
    std::string const before = readFile(_path);
    Planes own = openPlanesForWriting(_path);
    EXPECT_EQ(own.readPlane(), countingBytes(40));
    EXPECT_EQ(own.read({0, 0, 0, 13, 17}), countingBytes(17, 14));
    Planes plain = plainPlanes(_path, "r+", own.pGeometry);
    for (Planes* const pPlanes : {&own, &plain}) {
        EXPECT_THAT(pPlanes->tryWrite(pPlanes->wholePlane()),
                    FailsInWords(getTagFailed("TIFFTAG_ROWSPERSTRIP", _path)));
        pPlanes->pTiff.release(); // NOLINT(bugprone-unused-return-value): it is closed
    }
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readFile(_path), before);
}

TEST_F(TiffPlaneDataFailureTest, APlaneBeyondTheLastDirectoryIsAFailureOfReadAndWrite) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3, 2}));
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_THAT(planes.tryRead({2, 0, 0, 0, 12}), FailsInWords(setDirectoryFailed(2, _path)));
    EXPECT_THAT(planes.tryWrite({0, 0, 7, 0, 12}), FailsInWords(setDirectoryFailed(14, _path)));
    EXPECT_EQ(planes.readPlane(1), std::string(12, '\0')); // the handle is still open
}

TEST_F(TiffPlaneDataFailureTest, DirectoriesAreCountedModulo65536AndNamedUncut) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3, 2})).writePlane("abcdefghijkl", 1);
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_EQ(planes.readPlane(65537), "abcdefghijkl");
    EXPECT_EQ(planes.readPlane(1, 0, 32768), "abcdefghijkl");
    planes.writePlane("mnopqrstuvwx", 65536);
    EXPECT_EQ(readDirectoryPixels(_path, 0), "mnopqrstuvwx");
    EXPECT_THAT(planes.tryRead({65538, 0, 0, 0, 12}), FailsInWords(setDirectoryFailed(65538, _path)));
    EXPECT_THAT(planes.tryWrite({65538, 0, 0, 0, 12}), FailsInWords(setDirectoryFailed(65538, _path)));
}

TEST_F(TiffPlaneDataFailureTest, AFileCutShortNamesTheStripThatIsMissing) {
    RawDirectory raw = greyDirectory(100, 200);
    raw.set(TIFFTAG_ROWSPERSTRIP, longs({81})).set(TIFFTAG_STRIPBYTECOUNTS, longs({8100, 8100, 3800}));
    std::uint64_t const begin =
        rawTiff({raw.set(TIFFTAG_STRIPOFFSETS, longs({0, 0, 0}))}).size() - g_nbLongPixels;
    raw.set(TIFFTAG_STRIPOFFSETS, longs({begin, begin + 8100, begin + 16200}));
    writeRawTiff(_path, {raw});
    Planes const planes = openPlanesForWriting(_path);
    boost::filesystem::resize_file(_path, begin + 12000);
    EXPECT_EQ(planes.read({0, 0, 0, 0, 8100}), raw.pixels.substr(0, 8100));
    PixelRun const run = planes.wholePlane();
    EXPECT_THAT(planes.tryRead(run), FailsInWords(readStripFailed(1, run, _path)));
    EXPECT_THAT(planes.tryRead(run), FailsLike("\nTiff Error : Read error at scanline"));
    PixelRun const merged{0, 0, 0, 16300, 5};
    EXPECT_THAT(planes.tryWrite(merged), FailsInWords(readStripFailed(2, merged, _path)));
}

TEST_F(TiffPlaneDataFailureTest, AFileThatLostItsDirectoriesWhileItIsOpenIsAFailure) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {100, 200, 2}));
    Planes const planes = openPlanes(_path);
    planes.readPlane(1);
    boost::filesystem::resize_file(_path, 4000);
    EXPECT_THAT(planes.tryRead(planes.wholePlane()),
                FailsLike(setDirectoryFailed(0, _path) + "Tiff Error : "));
}

TEST_F(TiffPlaneDataFailureTest, AStripThatDoesNotDecodeIsNamed) {
    writeTiff(_path, {makeLongDirectory(COMPRESSION_ADOBE_DEFLATE)});
    spoil(_path, findStrip(_path, 2), 100);
    Planes const planes = openPlanesForWriting(_path);
    PixelRun const run{0, 0, 0, 5, g_nbLongPixels - 5};
    EXPECT_THAT(planes.tryRead(run), FailsInWords(readStripFailed(2, run, _path)));
    std::string pixels;
    planes.tryRead(run, pixels);
    EXPECT_TRUE(pixels.substr(0, 16195) == noise(g_nbLongPixels).substr(5, 16195)); // what came before stays
    PixelRun const merged{0, 0, 0, 16200, 10};
    EXPECT_THAT(planes.tryWrite(merged), FailsInWords(readStripFailed(2, merged, _path)));
}

TEST_F(TiffPlaneDataFailureTest, TheWrongBitsOfADirectoryAreAFailureOfItsStrip) {
    Directory first = makeLongDirectory();
    first.bits = 16;
    first.pixels = noise(2 * g_nbLongPixels);
    writeTiff(_path, {first, makeLongDirectory()});
    Planes const planes = openPlanes(_path); // a volume has the type of its first directory
    PixelRun const run = planes.wholePlane(1);
    EXPECT_THAT(planes.tryRead(run),
                FailsInWords(readStripFailed(0, run, _path) +
                             "The directory has planes of 100 x 200 pixels of 8 bits, the image has "
                             "planes of 100 x 200 pixels of 16 bits"));
}

TEST_F(TiffPlaneDataFailureTest, AWriteBeyondTheSpaceNamesItsStripInLibtiffsWords) {
    writeTiff(_path, {makeLongDirectory()});
    std::uint64_t const limit = findStrip(_path, 1) + 100;
    std::string const before = readFile(_path);
    std::string const text = withLimit(RLIMIT_FSIZE, limit, [&] {
        Planes const planes = openPlanesForWriting(_path);
        return toText(planes.tryWrite(planes.wholePlane()));
    });
    EXPECT_EQ(text, "Failed to write data of strip 1 for directory z=0, c=0, t=0 of file " + _path.string() +
                        "\nTiff Error : Write error at scanline 81: File too large");
    EXPECT_TRUE(readFile(_path).substr(limit) == before.substr(limit));
}

TEST_F(TiffPlaneDataFailureTest, ADirectoryThatCannotBeBroughtUpToDateIsAFailureOfTheFlush) {
    writeTiff(_path, {makeLongDirectory(COMPRESSION_LZW)});
    std::string const header = readFile(_path).substr(4, 4);
    std::uint32_t directory = 0;
    std::memcpy(&directory, header.data(), sizeof(directory)); // it lies behind its strips
    std::string const text = withLimit(RLIMIT_FSIZE, directory, [&] {
        Planes const planes = openPlanesForWriting(_path);
        std::string const black(g_nbLongPixels, '\0'); // needs less space
        return toText(writeTiffData(planes.pTiff.get(), _path, *planes.pGeometry, 0, 0, 0, 0, g_nbLongPixels,
                                    black.data()));
    });
    EXPECT_THAT(text, testing::StartsWith("Error while flushing tiff data for file " + _path.string() +
                                          "\nTiff Error : "));
}

TEST_F(TiffPlaneDataFailureTest, AFileOpenForReadingCannotBeWritten) {
    writeTiff(_path, {makeLongDirectory()});
    Planes const planes = openPlanes(_path);
    EXPECT_THAT(
        planes.tryWrite(planes.wholePlane()),
        FailsLike("Failed to write data of strip 0 for directory z=0, c=0, t=0 of file " + _path.string()));
    EXPECT_EQ(readDirectoryPixels(_path, 0), noise(g_nbLongPixels));
}

TEST_F(TiffPlaneDataFailureTest, NothingIsLogged) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3, 2}));
    Planes const planes = openPlanesForWriting(_path);
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    EXPECT_FALSE(planes.tryRead({9, 0, 0, 0, 12}));
    EXPECT_FALSE(planes.tryWrite({9, 0, 0, 0, 12}));
    EXPECT_TRUE(log.getRecords().empty());
}

} // namespace velmo::image::file
