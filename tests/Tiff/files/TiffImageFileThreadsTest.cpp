// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

constexpr unsigned int g_nbThreads = 8;
constexpr char const* g_tooFewValues =
    "boost::too_few_args: format-string referred to more arguments than were passed";

class TiffImageFileThreadsTest : public TiffImageFileTest {
  protected:
    static ImageGeometryPtr makePlanes(vlUInt64 nbPlanes) {
        return makeGeometry(eIBT_UInt16, {50, 40, nbPlanes});
    }
    static std::string pixelsOf(vlUInt64 z) { return countingBytes(4000, static_cast<unsigned int>(7 * z)); }
    void writePlanes(path const& path, vlUInt64 nbPlanes, eTiffCompression compression) const {
        Planes const planes = createPlanes(path, makePlanes(nbPlanes), compression);
        for (vlUInt64 z = 0; z < nbPlanes; ++z) {
            planes.writePlane(pixelsOf(z), z);
        }
    }
};

TEST_F(TiffImageFileThreadsTest, ThreadsReadTheirOwnPlanesOfACompressedFile) {
    writePlanes(_path, 16, eTC_Deflate);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path), Succeeds());
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 round = 0; round < 50; ++round) {
            vlUInt64 const z = (thread + 3 * round) % 16;
            EXPECT_EQ(readPixels(file, {z, 0, 0, thread, 100}), pixelsOf(z).substr(2 * thread, 200));
        }
    });
}

// Each write takes many strips, so that a read between two of them would see both values.
TEST_F(TiffImageFileThreadsTest, AReadSeesAllOfAWriteOrNothingOfIt) {
    auto const pGeometry = makeGeometry(eIBT_UInt8, {512, 512});
    TiffImageFile file;
    ASSERT_THAT(file.createFile(_path, *pGeometry, nullptr), Succeeds());
    ASSERT_GT(pGeometry->getPlanNbPixels(), 20U * 8192U);
    PixelRun const run = wholePlane(file);
    writePixels(file, run, std::string(run.count, 'A'));
    onThreads(4, [&](unsigned int thread) {
        for (int round = 0; round < 25; ++round) {
            if (thread < 2) {
                writePixels(file, run, std::string(run.count, static_cast<char>('A' + round)));
            } else {
                std::string const pixels = readPixels(file, run);
                EXPECT_EQ(pixels.find_first_not_of(pixels[0]), std::string::npos);
            }
        }
    });
}

TEST_F(TiffImageFileThreadsTest, AccessorsOfDifferentFilesDoNotMeet) {
    onThreads(g_nbThreads, [&](unsigned int thread) {
        path const path = _folder / (std::to_string(thread) + ".tif");
        auto const pGeometry = makeGeometry(thread % 2 == 0 ? eIBT_UInt16 : eIBT_Real32, {9, 5, 3, 2});
        for (unsigned int round = 0; round < 10; ++round) {
            TiffImageFile file;
            EXPECT_THAT(file.createFile(path, *pGeometry, nullptr), Succeeds());
            std::string const pixels = noise(pGeometry->getPlanMemorySize(0), 100 * thread + round);
            writePixels(file, wholePlane(file, 2, 1), pixels);
            TiffImageFile other;
            EXPECT_THAT(openFile(other, path), Succeeds());
            EXPECT_EQ(readPixels(other, wholePlane(other, 2, 1)), pixels);
        }
    });
}

TEST_F(TiffImageFileThreadsTest, EachThreadGetsTheWordsOfItsOwnFailure) {
    onThreads(g_nbThreads, [&](unsigned int thread) {
        path const missing = _folder / (std::to_string(thread) + ".tif");
        TiffImageFile file;
        for (int round = 0; round < 50; ++round) {
            EXPECT_THAT(openFile(file, missing),
                        FailsWith("Failed to open tiff image file " + missing.string() +
                                  "\nTiff Error : " + missing.string() + ": No such file or directory"));
        }
    });
}

TEST_F(TiffImageFileThreadsTest, TwoThreadsOfOneAccessorGetTheirOwnWordsAndAThirdItsPixels) {
    auto const pGeometry = makePlanes(2);
    writePlanes(_path, 2, eTC_None);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path), Succeeds());
    PixelRun const beyond = {40000, 0, 0, 0, 1};
    onThreads(3, [&](unsigned int thread) {
        for (int round = 0; round < 100; ++round) {
            if (thread == 0) {
                BoolResult const result = tryRead(file, beyond);
                EXPECT_THAT(result, FailsInWords(setDirectoryFailed(40000, _path)));
            } else if (thread == 1) {
                BoolResult const result = tryWrite(file, wholePlane(file));
                EXPECT_THAT(result, FailsWith(writeStripFailed(0, wholePlane(file), _path) +
                                              "Tiff Error : File not open for writing"));
            } else {
                EXPECT_EQ(readPixels(file, wholePlane(file, 1)), pixelsOf(1));
            }
        }
    });
}

TEST_F(TiffImageFileThreadsTest, ThreadsThatMeetAClosedFileAllFail) {
    TiffImageFile file;
    ASSERT_THAT(file.createFile(_path, *_pGeometry, nullptr), Succeeds());
    std::atomic<int> nbFirst{0};
    onThreads(g_nbThreads, [&](unsigned int) {
        BoolResult const result = tryRead(file, {});
        EXPECT_FALSE(result);
        nbFirst += result.getMessage() == closedEarlier(_path) ? 0 : 1;
    });
    EXPECT_EQ(nbFirst, 1);
    EXPECT_EQ(countDescriptors(_path), 0U);
}

// A stack of one directory, whose planes are read from the file beside libtiff.

class TiffImageFileStackTest : public TiffImageFileTest {
  protected:
    void openStack(TiffImageFile& file) const {
        Directory directory;
        directory.tags[TIFFTAG_IMAGEDESCRIPTION] = std::string("ImageJ=1.53\nimages=3\n");
        directory.pixels = countingBytes(12);
        writeTiff(_path, {directory});
        ASSERT_THAT(openFile(file, _path), Succeeds());
        ASSERT_EQ(file.getGeometry().getSizeZ(), 3U);
    }
};

TEST_F(TiffImageFileStackTest, AMissingFilePrintsALineAndIsAFailureUntilItIsBack) {
    TiffImageFile file;
    openStack(file);
    EXPECT_EQ(readPixels(file, wholePlane(file)), countingBytes(12));
    boost::filesystem::rename(_path, _folder / "away.tif");
    for (int round = 0; round < 2; ++round) {
        testing::internal::CaptureStdout();
        BoolResult const result = tryRead(file, wholePlane(file, 1));
        EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(g_tooFewValues) + '\n');
        EXPECT_THAT(result, FailsWith(g_tooFewValues));
    }
    boost::filesystem::rename(_folder / "away.tif", _path);
    EXPECT_EQ(readPixels(file, wholePlane(file)), countingBytes(12));
}

} // namespace

} // namespace velmo::image::file
