// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>

#include <boost/filesystem/operations.hpp>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

namespace {

using velmo::test::readFile;
using velmo::test::writeFile;

class RawImageFilePixelsTest : public RawImageFileTest {};

// Where planes lie

TEST_F(RawImageFilePixelsTest, ThePlanesOfTheExampleBeginAtTheirOffsets) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    struct {
        vlUInt64 z, t, offset;
    } const planes[] = {{0, 0, 16}, {1, 0, 40}, {0, 1, 64}, {1, 1, 88}};
    for (auto const& plane : planes) {
        EXPECT_EQ(readPixels(file, {plane.z, 0, plane.t, 0, 12}),
                  countingBytes(g_exampleEnd).substr(plane.offset, 24));
    }
}

TEST_F(RawImageFilePixelsTest, PlanesAreOrderedByTimeThenChannelThenZ) {
    Sizes const sizes = {1, 2, 2, 3, 4};
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt16, sizes), "hdr"), Succeeds());
    std::string expected = "hdr";
    for (vlUInt64 t = 0; t < sizes.t; ++t) {
        for (vlUInt64 c = 0; c < sizes.c; ++c) {
            for (vlUInt64 z = 0; z < sizes.z; ++z) {
                std::string const plane = {char('a' + t), char('A' + c), char('0' + z), '.'};
                expected += plane;
                writePixels(file, {z, c, t, 0, 2}, plane);
            }
        }
    }
    EXPECT_EQ(readFile(_path), expected);
}

TEST_F(RawImageFilePixelsTest, ThePixelSizeOfAHeterogeneousGeometryChangesWithTime) {
    ImageGeometryPtr const pGeometry =
        makeHeterogeneousGeometry({eIBT_UInt8, eIBT_Real32, eIBT_Int16}, {2, 1, 2, 1, 3});
    std::string const bytes = countingBytes(5 + 2 * (2 + 8 + 4));
    writeFile(_path, bytes);
    RawImageFile file;
    ASSERT_THAT(file.openFile(_path, eIAM_ReadWrite, 5, *pGeometry), Succeeds());
    struct {
        vlUInt64 z, t, offset, size;
    } const planes[] = {{0, 0, 5, 2},  {1, 0, 7, 2},  {0, 1, 9, 8},
                        {1, 1, 17, 8}, {0, 2, 25, 4}, {1, 2, 29, 4}};
    for (auto const& plane : planes) {
        EXPECT_EQ(readPixels(file, {plane.z, 0, plane.t, 0, 2}), bytes.substr(plane.offset, plane.size));
    }
    EXPECT_EQ(readPixels(file, {1, 0, 1, 1, 1}), bytes.substr(21, 4));
    writePixels(file, {1, 0, 2, 1, 1}, "XY");
    EXPECT_EQ(readFile(_path), bytes.substr(0, 31) + "XY");
}

// Pixel types

struct PixelType {
    eImageBufferType bufferType;
    vlUInt64 size;
};

class RawImageFilePixelTypeTest : public RawImageFileTest, public testing::WithParamInterface<PixelType> {};

TEST_P(RawImageFilePixelTypeTest, AreStoredAsTheyLieInMemory) {
    vlUInt64 const size = GetParam().size;
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeGeometry(GetParam().bufferType, {3, 2, 2}), "h"), Succeeds());
    EXPECT_EQ(boost::filesystem::file_size(_path), std::max<vlUInt64>(1, 1 + 12 * size));
    std::string const pixels = countingBytes(4 * size);
    writePixels(file, {1, 0, 0, 2, 4}, pixels);
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 1, *makeGeometry(GetParam().bufferType, {3, 2, 2})),
                Succeeds());
    EXPECT_EQ(readFile(_path).substr(1 + 8 * size), pixels);
    EXPECT_EQ(readPixels(file, {1, 0, 0, 2, 4}), pixels);
    EXPECT_EQ(readPixels(file, {1, 0, 0, 3, 1}), pixels.substr(size, size));
}

INSTANTIATE_TEST_SUITE_P(Pixels, RawImageFilePixelTypeTest,
                         testing::Values(PixelType{eIBT_None, 0}, PixelType{eIBT_Int8, 1},
                                         PixelType{eIBT_UInt8, 1}, PixelType{eIBT_Int16, 2},
                                         PixelType{eIBT_UInt16, 2}, PixelType{eIBT_Int32, 4},
                                         PixelType{eIBT_UInt32, 4}, PixelType{eIBT_Real32, 4},
                                         PixelType{eIBT_Binary, 1}, PixelType{eIBT_Label16, 2},
                                         PixelType{eIBT_Label32, 4}, PixelType{eIBT_Label8, 1}),
                         [](testing::TestParamInfo<PixelType> const& type) {
                             std::ostringstream name;
                             name << type.param.bufferType;
                             return name.str().substr(5);
                         });

// Parts of planes

TEST_F(RawImageFilePixelsTest, APartOfAPlaneIsReadFromItsPixelOn) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string buffer(8, '#');
    ASSERT_THAT(file.readRawData(1, 0, 0, 5, 3, buffer.data()), Succeeds());
    EXPECT_EQ(buffer, countingBytes(g_exampleEnd).substr(40 + 10, 6) + "##");
}

TEST_F(RawImageFilePixelsTest, APartOfAPlaneIsWrittenAloneAndIsInTheFileAtOnce) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    writePixels(file, {0, 0, 1, 2, 2}, "wxyz");
    std::string expected = countingBytes(g_exampleEnd);
    expected.replace(64 + 4, 4, "wxyz");
    EXPECT_EQ(readFile(_path), expected);
    EXPECT_EQ(readPixels(file, {0, 0, 1, 1, 4}), expected.substr(66, 8));
}

TEST_F(RawImageFilePixelsTest, ARunOfNoPixelsIsASuccess) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_THAT(file.readRawData(1, 0, 1, 12, 0, nullptr), Succeeds());
    EXPECT_THAT(file.writeRawData(1, 0, 1, 12, 0, nullptr), Succeeds());
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

TEST_F(RawImageFilePixelsTest, ARunThatPassesTheEndOfItsPlaneGoesOnInTheNext) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_EQ(readPixels(file, {0, 0, 0, 11, 3}), countingBytes(6, 1 + 38));
    writePixels(file, {0, 0, 0, 12, 1}, "ab");
    EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 1}), "ab");
}

TEST_F(RawImageFilePixelsTest, ARunThatPassesTheEndOfTheFileFails) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    PixelRun const run = {1, 0, 1, 11, 2};
    EXPECT_THAT(tryRead(file, run), FailsWith(readFailed(_path, run)));
}

// Planes that do not exist

TEST_F(RawImageFilePixelsTest, AnInvalidZOrChannelIsThrown) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    for (PixelRun const& run :
         {PixelRun{2, 0, 0}, PixelRun{0, 1, 0}, PixelRun{g_largest, 0, 1}, PixelRun{0, g_largest, 1}}) {
        EXPECT_EQ(textThrownBy<VELMOImageFileException>([&] { tryRead(file, run); }), invalidPlane(run));
        EXPECT_EQ(textThrownBy<VELMOImageFileException>([&] { tryWrite(file, run); }), invalidPlane(run));
    }
    EXPECT_THAT(tryRead(file, {}), Succeeds());
}

TEST_F(RawImageFilePixelsTest, AnInvalidTimeStepIsThrownByTheGeometryFirst) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    for (PixelRun const& run : {PixelRun{0, 0, 2}, PixelRun{2, 1, 2}}) {
        EXPECT_THROW(tryRead(file, run), VELMOImageException);
        EXPECT_THROW(tryWrite(file, run), VELMOImageException);
    }
    EXPECT_THROW(tryRead(file, {0, 0, g_largest}), VELMOImageException);
}

TEST_F(RawImageFilePixelsTest, AnInvalidPlaneIsLoggedOnceWithItsPlace) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    try {
        tryRead(file, {2, 0, 0});
        FAIL() << "nothing was thrown";
    } catch (VELMOImageFileException const& exception) {
        EXPECT_THAT(exception.getFunction(), testing::HasSubstr("RawImageFile::readRawData("));
        EXPECT_EQ(exception.getFile(), "src/Raw/RawImageFile.cpp");
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_THAT(log.getRecords()[0].message, testing::HasSubstr(exception.what()));
        EXPECT_EQ(log.getRecords()[0].line, static_cast<int>(exception.getLine()));
    }
}

TEST_F(RawImageFilePixelsTest, AWriteLooksAtThePlaneBeforeItOpensAStream) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    inOtherThread([&] {
        EXPECT_THROW(tryWrite(file, {2, 0, 0}), VELMOImageFileException);
        EXPECT_THROW(tryWrite(file, {0, 0, 2}), VELMOImageException);
    });
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(RawImageFilePixelsTest, AReadOpensItsStreamBeforeItLooksAtThePlane) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    inOtherThread([&] { EXPECT_THROW(tryRead(file, {2, 0, 0}), VELMOImageFileException); });
    EXPECT_EQ(countDescriptors(_path), 2U);
}

TEST_F(RawImageFilePixelsTest, OfARemovedFileAReadFailsAtTheOpeningAndAWriteAtThePlane) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    boost::filesystem::remove(_path);
    inOtherThread([&] {
        EXPECT_THAT(tryRead(file, {2, 0, 0}), FailsWith(openFailed(_path)));
        EXPECT_THROW(tryWrite(file, {2, 0, 0}), VELMOImageFileException);
        EXPECT_THAT(tryWrite(file, {}), FailsWith(openFailed(_path)));
        EXPECT_THAT(file.resizeData(*makeExampleGeometry()), FailsWith(openFailed(_path)));
    });
    EXPECT_THAT(tryRead(file, {}), Succeeds());
}

// Streams that do not read, do not write or have failed

TEST_F(RawImageFilePixelsTest, TheCreatingThreadWritesAndCannotReadUntilItOpensTheFile) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), ""), Succeeds());
    writePixels(file, {0, 0, 0, 0, 1}, "ab");
    EXPECT_THAT(tryRead(file, {}), FailsWith(readFailed(_path, {})));
    EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
    EXPECT_THAT(tryWrite(file, {1, 0, 0, 3, 2}), FailsWith(seekFailed(_path, {1, 0, 0, 3, 2})));
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 0, *makeExampleGeometry()), Succeeds());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "ab");
}

TEST_F(RawImageFilePixelsTest, AnotherThreadReadsAndWritesACreatedFile) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), ""), Succeeds());
    writePixels(file, {0, 0, 0, 0, 1}, "ab");
    inOtherThread([&] {
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "ab");
        writePixels(file, {0, 0, 0, 0, 1}, "cd");
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "cd");
    });
    EXPECT_EQ(readFile(_path).substr(0, 2), "cd");
}

TEST_F(RawImageFilePixelsTest, AReadOnlyAccessorFailsAtItsWriteAndNotAtItsSeek) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    PixelRun const run = {1, 0, 1, 2, 3};
    EXPECT_THAT(tryWrite(file, run), FailsWith(writeFailed(_path, run)));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

TEST_F(RawImageFilePixelsTest, AStreamThatFailedStaysFailedUntilTheFileIsOpenedAnew) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    PixelRun const beyond = {1, 0, 1, 12, 1};
    EXPECT_THAT(tryRead(file, beyond), FailsWith(readFailed(_path, beyond)));
    EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
    EXPECT_THAT(tryWrite(file, {}), FailsWith(seekFailed(_path, {})));
    inOtherThread([&] { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
    EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, g_exampleOffset, *makeExampleGeometry()), Succeeds());
    EXPECT_THAT(tryRead(file, {}), Succeeds());
}

TEST_F(RawImageFilePixelsTest, ClearingTheDerivedPartMendsAFailedStream) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_FALSE(tryRead(file, {1, 0, 1, 12, 1}));
    file.clearDerived();
    EXPECT_THAT(tryRead(file, {}), Succeeds());
}

// Resizing

TEST_F(RawImageFilePixelsTest, ResizingGrowsTheFileWithZeros) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {4, 3, 2, 1, 3})), Succeeds());
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd) + std::string(32, '\0'));
}

TEST_F(RawImageFilePixelsTest, ResizingPlacesThePlanesAtByteZero) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeExampleGeometry()), Succeeds());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(24));
    EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 12}), countingBytes(24, 25));
}

TEST_F(RawImageFilePixelsTest, ResizingNeverShrinksAndZerosTheByteAtTheNewEnd) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {4, 3})), Succeeds());
    std::string expected = countingBytes(g_exampleEnd);
    expected[23] = '\0';
    EXPECT_EQ(readFile(_path), expected);
}

TEST_F(RawImageFilePixelsTest, ResizingLeavesTheGeometryOfTheAccessorAsItWas) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeGeometry(eIBT_UInt8, {5, 5, 3, 2, 4})), Succeeds());
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeExampleGeometry()));
}

// The accessor's own geometry still tells the time steps and the pixel size.
TEST_F(RawImageFilePixelsTest, AResizedTableAndTheGeometryOfTheAccessorEachAnswerForTheirPart) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeGeometry(eIBT_UInt8, {5, 5, 3, 1, 4})), Succeeds());
    EXPECT_EQ(readPixels(file, {2, 0, 0, 1, 2}), countingBytes(4, 1 + 52));
    EXPECT_THROW(tryRead(file, {0, 0, 2}), VELMOImageException);
    ASSERT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {4, 3})), Succeeds());
    EXPECT_THROW(tryRead(file, {1, 0, 0}), VELMOImageFileException);
    EXPECT_THROW(tryRead(file, {0, 0, 1}), VELMOImageFileException);
}

TEST_F(RawImageFilePixelsTest, ResizingToNothingLeavesTheFileAndAnEmptyTable) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {4, 3, 0})), Succeeds());
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
    EXPECT_THROW(tryRead(file, {}), VELMOImageFileException);
}

TEST_F(RawImageFilePixelsTest, ResizingAFileOpenedForReadingFails) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(file.resizeData(*makeExampleGeometry()), FailsWith(reserveFailed(96, _path)));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

TEST_F(RawImageFilePixelsTest, ResizingToNothingSucceedsAlsoWhereNothingCanBeWritten) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {0, 3})), Succeeds());
}

} // namespace

} // namespace velmo::image::file
