// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffFileClosure.h"
#include "CapturedLog.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <cstring>
#include <log4cplus/loglevel.h>
#include <stdexcept>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;

/// What libtiff reads in place of a file.
struct Bytes {
    std::string content;
    std::size_t position = 0;
};

tmsize_t readBytes(thandle_t handle, void* pBuffer, tmsize_t nbBytes) {
    auto& bytes = *static_cast<Bytes*>(handle);
    std::size_t const begin = std::min(bytes.position, bytes.content.size());
    std::size_t const got = std::min(static_cast<std::size_t>(nbBytes), bytes.content.size() - begin);
    std::memcpy(pBuffer, bytes.content.data() + begin, got);
    bytes.position += got;
    return static_cast<tmsize_t>(got);
}

tmsize_t writeNothing(thandle_t /*handle*/, void* /*pBuffer*/, tmsize_t /*nbBytes*/) {
    return 0;
}

toff_t seekBytes(thandle_t handle, toff_t offset, int whence) {
    auto& bytes = *static_cast<Bytes*>(handle);
    std::size_t const base = whence == SEEK_SET   ? 0
                             : whence == SEEK_CUR ? bytes.position
                                                  : bytes.content.size();
    return bytes.position = base + offset;
}

toff_t sizeOfBytes(thandle_t handle) {
    return static_cast<Bytes*>(handle)->content.size();
}

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
        Bytes bytes{rawTiff({greyDirectory()})};
        TIFF* pTiff = TIFFClientOpen("bytes", "rm", &bytes, readBytes, writeNothing, seekBytes, close,
                                     sizeOfBytes, nullptr, nullptr);
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
    }
}

} // namespace velmo::image::file
