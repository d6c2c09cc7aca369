// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "FailingLog.h"
#include "Threshold.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace velmo::test {

struct eLogTestMessage {
    enum domain { eLTM_Two = 1, eLTM_Missing = 2 };
};

namespace {

using Message = eLogTestMessage;
using log4cplus::ERROR_LOG_LEVEL;
using log4cplus::WARN_LOG_LEVEL;

LogMessageManager& getManager() {
    return LogMessageManager::getInstance("GuardedLogTest");
}

log4cplus::Logger& getLogger() {
    static log4cplus::Logger logger = log4cplus::Logger::getInstance(getBaseLoggerName() + ".GuardedLogTest");
    return logger;
}

RaiseKind const g_kind = {getManager, getLogger, throwAs<BaseException>};
RaiseSite const g_site = {"void somewhere(int)", "src/Somewhere.cpp", 77};

auto const feedWell = [](LogMessageFormater& formater) { formater[Message::eLTM_Two] % "one" % 2; };

class GuardedLog : public testing::Test {
  protected:
    static void SetUpTestSuite() { getManager().addMessage(Message::eLTM_Two, "Seen at %s\n%d times"); }
};

/// A log that fails on the way: what is thrown, and one ERROR record of the base logger.
void expectGuardFailure(FeedRef feed, std::string const& cause) {
    CapturedLog const log(getBaseLogger());
    try {
        logGuarded(g_site, g_kind, WARN_LOG_LEVEL, feed);
        ADD_FAILURE() << "nothing was thrown";
    } catch (BaseException const& exception) {
        EXPECT_STREQ(exception.what(), "Exception thrown while processing message");
        EXPECT_EQ(exception.getLine(), g_site.line);
        ASSERT_NE(exception.getCause(), nullptr);
        EXPECT_NE(std::string(exception.getCause()->what()).find(cause), std::string::npos)
            << exception.getCause()->what();
    }
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].logger, getBaseLoggerName());
    EXPECT_EQ(log.getRecords()[0].level, ERROR_LOG_LEVEL);
}

} // namespace

TEST_F(GuardedLog, WritesOneRecordAtItsLevelAndPlaceAndThrowsNothing) {
    for (int const level : {WARN_LOG_LEVEL, ERROR_LOG_LEVEL}) {
        CapturedLog const log(getBaseLogger());
        EXPECT_NO_THROW(logGuarded(g_site, g_kind, level, feedWell));
        ASSERT_EQ(log.getRecords().size(), 1U);
        CapturedLog::Record const record = log.getRecords()[0];
        EXPECT_EQ(record.logger, getBaseLoggerName() + ".GuardedLogTest");
        EXPECT_EQ(record.level, level);
        EXPECT_EQ(record.message, "Seen at one\n2 times");
        EXPECT_EQ(record.file, g_site.file);
        EXPECT_EQ(record.line, static_cast<int>(g_site.line));
    }
}

TEST_F(GuardedLog, BelowTheThresholdNothingIsEvenFormatted) {
    Threshold const threshold(getLogger(), ERROR_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    int nbFed = 0;
    auto const feed = [&](LogMessageFormater& formater) {
        ++nbFed;
        feedWell(formater);
    };
    logGuarded(g_site, g_kind, WARN_LOG_LEVEL, feed);
    EXPECT_EQ(nbFed, 0);
    EXPECT_TRUE(log.getRecords().empty());
    logGuarded(g_site, g_kind, ERROR_LOG_LEVEL, feed);
    EXPECT_EQ(nbFed, 1);
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(GuardedLog, BelowTheThresholdAMessageThatDoesNotFitIsNoFailure) {
    Threshold const threshold(getLogger(), ERROR_LOG_LEVEL);
    EXPECT_NO_THROW(logGuarded(g_site, g_kind, WARN_LOG_LEVEL,
                               [](LogMessageFormater& formater) { formater[Message::eLTM_Missing]; }));
}

TEST_F(GuardedLog, AMessageThatDoesNotFitIsThrownAsOfARaise) {
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eLTM_Missing]; },
                       "No message with id 2");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eLTM_Two] % 1 % 2 % 3; },
                       "too_many_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eLTM_Two] % 1; }, "too_few_args");
}

TEST_F(GuardedLog, WhateverTheFeedThrowsIsChained) {
    expectGuardFailure([](LogMessageFormater&) { throw std::runtime_error("no such thing"); },
                       "no such thing");
    expectGuardFailure([](LogMessageFormater&) { throw BaseException("of the base", "", "", 1); },
                       "of the base");
    expectGuardFailure([](LogMessageFormater&) { throw 42; }, "Unknown exception");
}

TEST_F(GuardedLog, ALogThatThrowsIsChained) {
    FailingLog const failing(getLogger(), [] { throw std::runtime_error("the disk is full"); });
    expectGuardFailure(feedWell, "the disk is full");
}

TEST_F(GuardedLog, ThreadsLogAtOnce) {
    constexpr int nbThreads = 8;
    constexpr int nbRecords = 50;
    CapturedLog const log(getBaseLogger());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < nbThreads; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < nbRecords; ++i) {
                logGuarded(g_site, g_kind, WARN_LOG_LEVEL, feedWell);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(log.getRecords().size(), static_cast<std::size_t>(nbThreads * nbRecords));
}

} // namespace velmo::test
