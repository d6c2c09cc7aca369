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
std::string makeText() {
    static std::size_t g_size = 40;
    return std::string(g_size += 40, 'w');
}

/// As libtiff reports, with an argument that makes the text long.
void report(std::string const& text) {
    TIFFError("m", "strip of %s", text.c_str());
}

class TiffMessagesMemory : public testing::Test {
  protected:
    TiffMessagesMemory() { TiffErrorHandler::getInstance(); }
};

} // namespace

TEST_F(TiffMessagesMemory, AFailedAllocationIsLoggedWithTheFormatAndLeavesLibtiffUndisturbed) {
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

TEST_F(TiffMessagesMemory, AFailedAllocationOfAWarningIsLoggedTheSameWay) {
    std::string const text = makeText();
    CapturedLog const log(getBaseLogger());
    {
        FailingAllocations const failing(1);
        TIFFWarning("m", "tag %s", text.c_str());
    }
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].message, "Error while decoding tiff error message\n[tag %s]");
}

TEST_F(TiffMessagesMemory, NothingIsLoggedWhereTheLoggerDoesNotTakeIt) {
    Threshold const threshold(getVELMOImageFileLogger(), log4cplus::OFF_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    std::string const text = makeText();
    {
        FailingAllocations const failing(1);
        EXPECT_NO_THROW(report(text));
    }
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffMessagesMemory, WhateverFailsBehindAFailureNothingIsThrownAndTheHandlerWorksAfterwards) {
    for (unsigned int second = 2; second < 60; ++second) {
        std::string const text = makeText();
        EXPECT_NO_THROW({
            FailingAllocations const failing(1, second);
            report(text);
        }) << second;
        report(text);
        EXPECT_EQ(lastTiffMessage(), "Tiff Error : strip of " + text) << second;
    }
}

} // namespace velmo::image::file
