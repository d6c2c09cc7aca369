// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

namespace {

using TiffInterleavedFailureTest = TiffTest;

/// Pages of 50 x 90 pixels of three bytes: strips of 54 and 36 rows.
constexpr vlUInt64 g_nbBrokenPixels = 4500;

Directory makeRgb(std::uint16_t compression = COMPRESSION_NONE) {
    Directory directory = stripDirectory(50, 90, 54, compression, 3);
    directory.pixels = noise(3 * g_nbBrokenPixels);
    return directory;
}

ImageGeometryPtr makeRgbGeometry() {
    return makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {50, 90});
}

void spoilStrip(path const& path, std::uint32_t strip) {
    std::uint64_t const offset = TIFFGetStrileOffset(openPlain(path).get(), strip);
    std::string bytes = readFile(path);
    writeFile(path, bytes.replace(offset, 100, 100, '\xFF'));
}

std::string notInterleaved(path const& path) {
    return "Only interleaved Rgb tiff can be proceeded using rgb functions, while proceeding file " +
           path.string();
}

/// One compressed strip of 4 x 3 RGB pixels in a file that leaves a tag out: libtiff itself needs neither.
void writeWithout(path const& path, std::uint32_t absentTag) {
    TiffPtr const pTiff = openPlain(path, "w");
    struct {
        std::uint32_t tag;
        int value;
    } const tags[] = {{TIFFTAG_IMAGEWIDTH, 4},
                      {TIFFTAG_IMAGELENGTH, 3},
                      {TIFFTAG_BITSPERSAMPLE, 8},
                      {TIFFTAG_SAMPLESPERPIXEL, 3},
                      {TIFFTAG_ROWSPERSTRIP, 3},
                      {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB},
                      {TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG},
                      {TIFFTAG_COMPRESSION, COMPRESSION_LZW}};
    for (auto const& entry : tags) {
        if (entry.tag != absentTag) {
            TIFFSetField(pTiff.get(), entry.tag, entry.value);
        }
    }
    std::string pixels = countingBytes(36);
    EXPECT_EQ(TIFFWriteEncodedStrip(pTiff.get(), 0, pixels.data(), 36), 36);
}

} // namespace

TEST_F(TiffInterleavedFailureTest, APageBeyondTheLastDirectoryIsNamedUncut) {
    createPlanes(_path, makeRgbGeometry());
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_THAT(planes.tryReadRgb({1, 0, 0, 0, 10}), FailsInWords(setDirectoryFailed(1, _path)));
    EXPECT_THAT(planes.tryWriteRgb({0, 0, 3, 0, 10}), FailsInWords(setDirectoryFailed(3, _path)));
    EXPECT_THAT(planes.tryReadRgb({65538, 0, 0, 0, 10}), FailsInWords(setDirectoryFailed(65538, _path)));
    EXPECT_THAT(planes.tryWriteRgb({65538, 0, 0, 0, 10}), FailsInWords(setDirectoryFailed(65538, _path)));
}

TEST_F(TiffInterleavedFailureTest, GreyAndSeparatePlanesAreNoInterleavedRgb) {
    Directory separate = makeRgb();
    separate.planarConfig = PLANARCONFIG_SEPARATE;
    Directory grey = makeRgb();
    grey.samples = 1;
    grey.photometric = PHOTOMETRIC_MINISBLACK;
    Directory ycbcr = makeRgb();
    ycbcr.photometric = PHOTOMETRIC_SEPARATED;
    for (Directory const& directory : {separate, grey, ycbcr}) {
        writeTiff(_path, {directory});
        std::string const before = readFile(_path);
        Planes const planes = plainPlanes(_path, "r+", makeRgbGeometry());
        for (vlUInt64 const count : {vlUInt64(0), g_nbBrokenPixels}) { // without pixels as well
            EXPECT_THAT(planes.tryReadRgb({0, 0, 0, 0, count}), FailsWith(notInterleaved(_path)));
            EXPECT_THAT(planes.tryWriteRgb({0, 0, 0, 0, count}), FailsWith(notInterleaved(_path)));
        }
        EXPECT_TRUE(readFile(_path) == before);
    }
}

TEST_F(TiffInterleavedFailureTest, AFileWithoutRowsPerStripReadsAsOneStripAndClosesWhenWritten) {
    writeWithout(_path, TIFFTAG_ROWSPERSTRIP);
    Planes planes = openPlanesForWriting(_path);
    EXPECT_EQ(planes.readRgb(planes.wholePlane()), pickChannels(countingBytes(36), 3, 1));
    EXPECT_THAT(planes.tryWriteRgb(planes.wholePlane()),
                FailsInWords(getTagFailed("TIFFTAG_ROWSPERSTRIP", _path)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    planes.pTiff.release(); // NOLINT(bugprone-unused-return-value): it is closed
}

TEST_F(TiffInterleavedFailureTest, ADirectoryLeftWithoutSamplesPerPixelDoesNotDisturbTheNext) {
    createPlanes(_path, makeRgbGeometry());
    Planes const planes = plainPlanes(_path, "r+", makeRgbGeometry());
    Channels const channels(3, noise(g_nbBrokenPixels));
    ASSERT_EQ(TIFFUnsetField(planes.pTiff.get(), TIFFTAG_SAMPLESPERPIXEL), 1);
    planes.writeRgb(planes.wholePlane(), channels);
    ASSERT_EQ(TIFFUnsetField(planes.pTiff.get(), TIFFTAG_SAMPLESPERPIXEL), 1);
    EXPECT_TRUE(planes.readRgb(planes.wholePlane()) == channels);
}

TEST_F(TiffInterleavedFailureTest, OtherNumbersOfChannelsThan3And4AreAnUnsupportedPhotometric) {
    for (unsigned int const samples : {1U, 2U, 5U}) {
        RawDirectory const directory = colorDirectory(samples);
        writeRawTiff(_path, {directory});
        std::string const before = readFile(_path);
        Planes const planes = plainPlanes(_path, "r+", makeGeometry(eIBT_UInt8, {4, 3}));
        std::string const text = "Un supported photometric interpretation value 2  with " +
                                 std::to_string(samples) + " samples per pixels for file " + _path.string();
        EXPECT_THAT(planes.tryReadRgb(planes.wholePlane()), FailsWith(text));
        EXPECT_THAT(planes.tryWriteRgb(planes.wholePlane()), FailsWith(text));
        EXPECT_EQ(readFile(_path), before);
    }
}

TEST_F(TiffInterleavedFailureTest, AStripThatDoesNotDecodeIsAFailureOfTheRead) {
    writeTiff(_path, {makeRgb(COMPRESSION_ADOBE_DEFLATE)});
    spoilStrip(_path, 1);
    Planes const planes = openPlanes(_path);
    PixelRun const run = planes.wholePlane();
    EXPECT_THAT(planes.tryReadRgb(run), FailsInWords(readStripFailed(1, run, _path)));
    PixelRun const other{0, 0, 0, 2800, 10};
    EXPECT_THAT(planes.tryReadRgb(other), FailsInWords(readStripFailed(1, other, _path)));
    EXPECT_THAT(planes.tryReadRgb({0, 0, 0, 0, 2700}), Succeeds()); // the first strip alone
}

TEST_F(TiffInterleavedFailureTest, PixelsThatCouldNotBeReadBackBecomeBlack) {
    writeTiff(_path, {makeRgb(COMPRESSION_ADOBE_DEFLATE)});
    spoilStrip(_path, 1);
    openPlanesForWriting(_path).writeRgb({0, 0, 0, 2800, 50}, Channels(3, std::string(50, 'x')));
    std::string expected = noise(3 * g_nbBrokenPixels);
    expected.replace(8100, 5400, 5400, '\0').replace(8400, 150, 150, 'x');
    EXPECT_TRUE(readDirectoryPixels(_path, 0) == expected);
}

TEST_F(TiffInterleavedFailureTest, AWriteBeyondTheSpaceNamesItsStripInLibtiffsWords) {
    writeTiff(_path, {makeRgb()});
    std::uint64_t const limit = TIFFGetStrileOffset(openPlain(_path).get(), 1);
    std::string const text = withLimit(RLIMIT_FSIZE, limit, [&] {
        Planes const planes = openPlanesForWriting(_path);
        BoolResult const first = planes.tryWriteRgb({0, 0, 0, 0, 2700});
        return toText(first) + ", " + toText(planes.tryWriteRgb({0, 0, 0, 2710, 100}));
    });
    // what libtiff calls a failure is a large number here, so that the flush may be the one to notice
    EXPECT_THAT(text, testing::AnyOf("success, success", testing::StartsWith("success, Error while flushing"),
                                     testing::StartsWith("success, Failed to write data of strip 1")));
}

TEST_F(TiffInterleavedFailureTest, ABufferTypeWithoutPixelsIsThrownAndLogged) {
    createPlanes(_path, makeRgbGeometry());
    for (vlUInt64 const type : {0U, 12U}) {
        Planes const planes = plainPlanes(
            _path, "r+", makeColorGeometry(eCGT_Rgb, static_cast<eImageBufferType>(type), {50, 90}));
        velmo::test::CapturedLog const log(getVELMOImageFileLogger());
        EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>([&] {
                      planes.tryReadRgb({0, 0, 0, 0, 9});
                  }),
                  "Invalid image buffer type enum value 0");
        EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>([&] {
                      planes.tryWriteRgb({0, 0, 0, 0, 9});
                  }),
                  "Invalid image buffer type enum value 0");
        EXPECT_EQ(log.getRecords().size(), 2U);
    }
}

} // namespace velmo::image::file
