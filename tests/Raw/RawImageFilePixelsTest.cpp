// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

class RawImageFilePixelsTest : public RawImageFileTest {};

// Where planes lie

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

TEST_F(RawImageFilePixelsTest, PixelsOfEachTypeAreStoredAsTheyLieInMemory) {
    struct {
        eImageBufferType type;
        vlUInt64 size;
    } const types[] = {{eIBT_None, 0},   {eIBT_Int8, 1},    {eIBT_UInt8, 1},   {eIBT_Int16, 2},
                       {eIBT_UInt16, 2}, {eIBT_Int32, 4},   {eIBT_UInt32, 4},  {eIBT_Real32, 4},
                       {eIBT_Binary, 1}, {eIBT_Label16, 2}, {eIBT_Label32, 4}, {eIBT_Label8, 1}};
    for (auto const& [type, size] : types) {
        SCOPED_TRACE(type);
        ImageGeometryPtr const pGeometry = makeGeometry(type, {3, 2, 2});
        RawImageFile file;
        ASSERT_THAT(file.createFile(_path, *pGeometry, "h"), Succeeds());
        EXPECT_EQ(boost::filesystem::file_size(_path), std::max<vlUInt64>(1, 1 + 12 * size));
        std::string const pixels = countingBytes(4 * size);
        writePixels(file, {1, 0, 0, 2, 4}, pixels);
        ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 1, *pGeometry), Succeeds());
        EXPECT_EQ(readFile(_path).substr(1 + 8 * size), pixels);
        EXPECT_EQ(readPixels(file, {1, 0, 0, 2, 4}), pixels);
        EXPECT_EQ(readPixels(file, {1, 0, 0, 3, 1}), pixels.substr(size, size));
    }
}

// Parts of planes

TEST_F(RawImageFilePixelsTest, APartOfAPlaneIsWrittenAloneAndIsInTheFileAtOnce) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    writePixels(file, {0, 0, 1, 2, 2}, "wxyz");
    writePixels(file, {0, 0, 0, 12, 1}, "ab"); // past its plane
    std::string expected = countingBytes(g_exampleEnd);
    expected.replace(64 + 4, 4, "wxyz").replace(40, 2, "ab");
    EXPECT_EQ(readFile(_path), expected);
    EXPECT_EQ(readPixels(file, {0, 0, 1, 1, 4}), expected.substr(66, 8));
}

// Planes that do not exist

TEST_F(RawImageFilePixelsTest, AWriteLooksAtThePlaneBeforeItOpensAStreamAndAReadAfterwards) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    inOtherThread([&] {
        for (PixelRun const& run : {PixelRun{2, 0, 0}, PixelRun{0, 1, 0}, PixelRun{0, g_largest, 1}}) {
            EXPECT_EQ(thrownText<VELMOImageFileException>([&] { tryWrite(file, run); }), invalidPlane(run));
        }
        EXPECT_THROW(tryWrite(file, {2, 1, 2}), VELMOImageException);
        EXPECT_EQ(countDescriptors(_path), 1U);
        EXPECT_THROW(tryRead(file, {2, 0, 0}), VELMOImageFileException);
        EXPECT_EQ(countDescriptors(_path), 2U);
    });
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
    inOtherThread([&] {
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "ab");
        writePixels(file, {0, 0, 0, 0, 1}, "cd");
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "cd");
    });
    EXPECT_THAT(tryRead(file, {}), FailsWith(readFailed(_path, {})));
    EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
    EXPECT_THAT(tryWrite(file, {1, 0, 0, 3, 2}), FailsWith(seekFailed(_path, {1, 0, 0, 3, 2})));
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 0, *makeExampleGeometry()), Succeeds());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), "cd");
}

TEST_F(RawImageFilePixelsTest, AWriteIsSeenByAnotherThreadsStreamAtOnce) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    std::promise<void> hasRead;
    std::promise<void> hasWritten;
    std::thread reader([&] {
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 2}), countingBytes(4, 41));
        hasRead.set_value();
        hasWritten.get_future().wait();
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 2}), "wxyz");
    });
    hasRead.get_future().wait();
    writePixels(file, {1, 0, 0, 0, 2}, "wxyz");
    hasWritten.set_value();
    reader.join();
}

TEST_F(RawImageFilePixelsTest, AReadOnlyAccessorFailsAtItsWriteAndNotAtItsSeek) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    PixelRun const run = {1, 0, 1, 2, 3};
    EXPECT_THAT(tryWrite(file, run), FailsWith(writeFailed(_path, run)));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
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

TEST_F(RawImageFilePixelsTest, ResizingAFileOpenedForReadingFailsUnlessItIsToNothing) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(file.resizeData(*makeExampleGeometry()), FailsWith(reserveFailed(96, _path)));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(file.resizeData(*makeGeometry(eIBT_UInt16, {0, 3})), Succeeds());
}

} // namespace

} // namespace velmo::image::file
