// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffFileClosure.h"
#include "CapturedLog.h"
#include "CpuTime.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <log4cplus/loglevel.h>
#include <stdexcept>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;

int throwText(thandle_t /*handle*/) {
    throw std::runtime_error("thrown by a close");
}

int throwNumber(thandle_t /*handle*/) {
    throw 42;
}

class TiffFileClosureTest : public TiffTest {
  protected:
    TIFF* open() const {
        writeRawTiff(_path, {greyDirectory()});
        return TIFFOpen(_path.c_str(), "r");
    }
};

} // namespace

TEST_F(TiffFileClosureTest, ClosesTheFileAndMakesTheHandleNull) {
    TIFF* pTiff = open();
    {
        TiffFileClosure const closure(_path.string(), pTiff);
        EXPECT_EQ(countDescriptors(_path), 1U);
    }
    EXPECT_EQ(pTiff, nullptr);
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(TiffFileClosureTest, LeavesAFileAloneThatItIsToldToLeave) {
    TIFF* pTiff = open();
    TIFF* const pBefore = pTiff;
    {
        TiffFileClosure closure(_path.string(), pTiff);
        closure.disarm();
    }
    EXPECT_EQ(pTiff, pBefore);
    EXPECT_EQ(countDescriptors(_path), 1U);
    TIFFClose(pTiff);
}

TEST_F(TiffFileClosureTest, SeesTheHandleAsItIsAtTheEnd) {
    TIFF* pTiff = nullptr;
    {
        TiffFileClosure const closure(_path.string(), pTiff);
        pTiff = open();
    }
    EXPECT_EQ(pTiff, nullptr);
    EXPECT_EQ(countDescriptors(_path), 0U);
    pTiff = open();
    {
        TiffFileClosure const closure(_path.string(), pTiff);
        TIFFClose(pTiff);
        pTiff = nullptr;
    }
    EXPECT_EQ(pTiff, nullptr);
}

TEST_F(TiffFileClosureTest, WhatACloseThrowsIsLoggedAndGoesNoFurther) {
    for (TIFFCloseProc const close : {throwText, throwNumber}) {
        TIFF* const pPlain = open();
        TIFFGetSeekProc(pPlain)(TIFFClientdata(pPlain), 0, SEEK_SET);
        TIFF* pTiff = TIFFClientOpen("bytes", "rm", TIFFClientdata(pPlain), TIFFGetReadProc(pPlain),
                                     TIFFGetWriteProc(pPlain), TIFFGetSeekProc(pPlain), close,
                                     TIFFGetSizeProc(pPlain), nullptr, nullptr);
        ASSERT_NE(pTiff, nullptr);
        CapturedLog const log(getBaseLogger());
        { TiffFileClosure const closure("a path.tif", pTiff); }
        EXPECT_EQ(pTiff, nullptr);
        auto const records = log.getRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].message,
                  "An exception has been thrown while trying to close tiff file a path.tif");
        EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(records[0].logger, getVELMOImageFileLoggerName());
        TIFFClose(pPlain);
    }
}

namespace {

class TiffDirectoryChain : public TiffTest {
  protected:
    std::chrono::nanoseconds measureOpening(std::vector<RawDirectory> const& directories) const {
        writeRawTiff(_path, directories);
        return test::measureCpuTime([&] {
            OpenedTiff const file(_path, {eIAM_ReadOnly, eTDM_Volume});
            ASSERT_THAT(file.result, Succeeds());
            EXPECT_EQ(file.pGeometry->getSizeZ(), directories.size());
        });
    }
};

} // namespace

// Walked on to the greatest number of directories it would give the same planes.
TEST_F(TiffDirectoryChain, ThatComesBackIsWalkedOnce) {
    std::vector<RawDirectory> directories = {greyDirectory(), greyDirectory(), greyDirectory()};
    std::chrono::nanoseconds const timeOfSoundChain = measureOpening(directories);
    for (std::uint64_t const place : findDirectories(directories)) {
        directories[2].next = place;
        EXPECT_LE(measureOpening(directories), 10 * timeOfSoundChain + std::chrono::milliseconds(5));
    }
}

} // namespace velmo::image::file
