// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// A program of its own: it replaces the allocation of the whole process.

#include "CapturedLog.h"
#include "Threshold.h"
#include "Tiff/handle/TiffErrorHandler.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <new>
#include <tiffio.h>

namespace {

// Which of the thread's allocations from now on fail, by number from 1.
thread_local unsigned int g_nbAllocations = 0;
thread_local unsigned int g_firstFailing = 0;
thread_local unsigned int g_secondFailing = 0;

class FailingAllocations {
  public:
    explicit FailingAllocations(unsigned int first, unsigned int second = 0) {
        g_nbAllocations = 0;
        g_firstFailing = first;
        g_secondFailing = second;
    }
    ~FailingAllocations() { g_firstFailing = g_secondFailing = 0; }
    FailingAllocations(FailingAllocations const&) = delete;
    FailingAllocations& operator=(FailingAllocations const&) = delete;
};

} // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    ++g_nbAllocations;
    bool const bFails = g_nbAllocations == g_firstFailing || g_nbAllocations == g_secondFailing;
    void* const pMemory = bFails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (pMemory == nullptr) {
        throw std::bad_alloc();
    }
    return pMemory;
}

[[gnu::noinline]] void operator delete(void* pMemory) noexcept {
    std::free(pMemory);
}

[[gnu::noinline]] void operator delete(void* pMemory, std::size_t /*size*/) noexcept {
    std::free(pMemory);
}

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;
using velmo::test::Threshold;

constexpr char const* g_format = "strip %d, of which there is more to tell than fits in a short text";

/// Longer than any text before, so that the entry has to grow.
std::string makeWords() {
    static std::size_t g_size = 40;
    return std::string(g_size += 40, 'w');
}

/// As libtiff reports, with an argument that makes the text long.
void report(std::string const& words) {
    TIFFError("m", "strip of %s", words.c_str());
}

class TiffWordsMemory : public testing::Test {
  protected:
    TiffWordsMemory() { TiffErrorHandler::getInstance(); }
};

} // namespace

TEST_F(TiffWordsMemory, AFailedAllocationIsLoggedWithTheFormatAndLeavesLibtiffUndisturbed) {
    CapturedLog const log(getBaseLogger());
    {
        FailingAllocations const failing(1);
        TIFFError("m", g_format, 7);
    }
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].message, std::string("Error while decoding tiff error message\n[") + g_format + "]");
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].logger, getVELMOImageFileLoggerName());
}

TEST_F(TiffWordsMemory, AFailedAllocationOfAWarningIsLoggedTheSameWay) {
    std::string const words = makeWords();
    CapturedLog const log(getBaseLogger());
    {
        FailingAllocations const failing(1);
        TIFFWarning("m", "tag %s", words.c_str());
    }
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].message, "Error while decoding tiff error message\n[tag %s]");
}

TEST_F(TiffWordsMemory, TheNextReportIsKeptAsEver) {
    {
        FailingAllocations const failing(1);
        TIFFError("m", g_format, 7);
    }
    std::string const words = makeWords();
    report(words);
    EXPECT_EQ(lastTiffMessage(), "Tiff Error : strip of " + words);
}

TEST_F(TiffWordsMemory, NothingIsLoggedWhereTheLoggerDoesNotTakeIt) {
    Threshold const threshold(getVELMOImageFileLogger(), log4cplus::OFF_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    std::string const words = makeWords();
    {
        FailingAllocations const failing(1);
        EXPECT_NO_THROW(report(words));
    }
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffWordsMemory, WhateverFailsBehindAFailureNothingIsThrownAndTheHandlerWorksAfterwards) {
    for (unsigned int second = 2; second < 60; ++second) {
        std::string const words = makeWords();
        EXPECT_NO_THROW({
            FailingAllocations const failing(1, second);
            report(words);
        }) << second;
        report(words);
        EXPECT_EQ(lastTiffMessage(), "Tiff Error : strip of " + words) << second;
    }
}

} // namespace velmo::image::file
