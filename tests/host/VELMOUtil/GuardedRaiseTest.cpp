// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "FailingLog.h"
#include "Processes.h"
#include "Threshold.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <atomic>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <optional>
#include <stdexcept>
#include <typeindex>

namespace velmo::test {

struct eRaiseTestMessage {
    enum domain { eRTM_Two = 1, eRTM_Plain = 2, eRTM_Missing = 3 };
};

class RaiseTestException : public BaseException {
  public:
    RaiseTestException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

namespace {

using log4cplus::ERROR_LOG_LEVEL;
using log4cplus::FATAL_LOG_LEVEL;
using log4cplus::WARN_LOG_LEVEL;
using Message = eRaiseTestMessage;
using Feed = std::function<void(LogMessageFormater&)>;

std::string const g_text("Failed at one\n2 times");
std::string const g_guardText("Exception thrown while processing message");

LogMessageManager& getManager() {
    return LogMessageManager::getInstance("GuardedRaiseTest");
}

log4cplus::Logger& getLogger() {
    static log4cplus::Logger logger =
        log4cplus::Logger::getInstance(getBaseLoggerName() + ".GuardedRaiseTest");
    return logger;
}

RaiseKind const g_raise = {getManager, getLogger, throwAs<RaiseTestException>};
RaiseSite const g_site = {"void somewhere(int)", "src/Somewhere.cpp", 77};
Feed const feedWell = [](LogMessageFormater& formater) { formater[Message::eRTM_Two] % "one" % 2; };
Feed const feedMissing = [](LogMessageFormater& formater) { formater[Message::eRTM_Missing] % "one"; };

/// What a guarded call throws, with the class of it and the text of its cause.
struct Thrown {
    std::type_index type;
    BaseException exception;
    std::string cause;
};

template <class Call>
std::optional<Thrown> getThrown(Call const& call) {
    try {
        call();
    } catch (BaseException const& exception) {
        BaseException const* const pCause = exception.getCause();
        return Thrown{typeid(exception), exception, pCause == nullptr ? "none" : pCause->what()};
    }
    return std::nullopt;
}

std::optional<Thrown> raise(Feed const& feed) {
    return getThrown([&] { raiseGuarded(g_site, g_raise, feed); });
}

std::optional<Thrown> warn(Feed const& feed) {
    return getThrown([&] { logGuarded(g_site, g_raise, WARN_LOG_LEVEL, feed); });
}

void expectPlace(BaseException const& exception) {
    EXPECT_EQ(exception.getFunction(), g_site.function);
    EXPECT_EQ(exception.getFile(), g_site.file);
    EXPECT_EQ(exception.getLine(), g_site.line);
}

void expectRaised(std::optional<Thrown> const& thrown) {
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->type, std::type_index(typeid(RaiseTestException)));
    EXPECT_EQ(thrown->exception.what(), g_text);
    EXPECT_EQ(thrown->cause, "none");
    expectPlace(thrown->exception);
}

/// One record only, at the place of the call.
void expectRecord(CapturedLog const& log, std::string const& logger, int level, std::string const& text) {
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, logger);
    EXPECT_EQ(records[0].level, level);
    EXPECT_EQ(records[0].message, text);
    EXPECT_EQ(records[0].file, g_site.file);
    EXPECT_EQ(records[0].line, static_cast<int>(g_site.line));
}

class GuardedRaise : public testing::Test {
  protected:
    GuardedRaise() {
        getManager().addMessage(Message::eRTM_Two, "Failed at %s\n%d times");
        getManager().addMessage(Message::eRTM_Plain, "Failed");
    }
};

/// Both guarded calls.
struct GuardedCall {
    char const* name;
    std::optional<Thrown> (*run)(Feed const&);
};

void PrintTo(GuardedCall const& call, std::ostream* pStream) {
    *pStream << call.name;
}

class GuardedCalls : public GuardedRaise, public testing::WithParamInterface<GuardedCall> {
  protected:
    /// A failure on the way: a plain BaseException, and one ERROR record which the base logger itself wrote.
    void expectGuardFailure(Feed const& feed, std::string const& cause) const {
        CapturedLog const log(getBaseLogger());
        auto const thrown = GetParam().run(feed);
        ASSERT_TRUE(thrown);
        EXPECT_EQ(thrown->type, std::type_index(typeid(BaseException)));
        EXPECT_EQ(thrown->exception.what(), g_guardText);
        EXPECT_NE(thrown->cause.find(cause), std::string::npos) << thrown->cause;
        expectPlace(thrown->exception);
        expectRecord(log, getBaseLoggerName(), ERROR_LOG_LEVEL, g_guardText);
    }
};

INSTANTIATE_TEST_SUITE_P(Each, GuardedCalls,
                         testing::Values(GuardedCall{"Raise", raise}, GuardedCall{"Log", warn}),
                         [](auto const& call) { return call.param.name; });

} // namespace

TEST_P(GuardedCalls, AMessageThatDoesNotFitSurfacesAsTheGuardsException) {
    expectGuardFailure(feedMissing, "No message with id 3");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two] % 1 % 2 % 3; },
                       "too_many_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Plain] % 1; },
                       "too_many_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two]; }, "too_few_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two] % 1; }, "too_few_args");
}

TEST_P(GuardedCalls, WhateverTheFeedThrowsIsChainedWithItsPlace) {
    Feed const feed = [](LogMessageFormater&) {
        throw RaiseTestException("the feed failed", "void feed()", "Feed.cpp", 5);
    };
    expectGuardFailure(feed, "the feed failed");
    expectGuardFailure([](LogMessageFormater&) { throw std::runtime_error("no such thing"); },
                       "no such thing");
    expectGuardFailure([](LogMessageFormater&) { throw 42; }, "Unknown exception");
    auto const thrown = GetParam().run(feed);
    ASSERT_TRUE(thrown);
    ASSERT_NE(thrown->exception.getCause(), nullptr);
    EXPECT_EQ(thrown->exception.getCause()->getFunction(), "void feed()");
    EXPECT_EQ(thrown->exception.getCause()->getLine(), 5U);
}

TEST_P(GuardedCalls, WhateverALogThrowsIsChained) {
    {
        FailingLog const failing(getLogger(), [] { throw RaiseTestException("the log failed", "", "", 1); });
        expectGuardFailure(feedWell, "the log failed");
    }
    {
        FailingLog const failing(getLogger(), [] { throw std::runtime_error("the disk is full"); });
        expectGuardFailure(feedWell, "the disk is full");
    }
    FailingLog const failing(getLogger(), [] { throw 42; });
    expectGuardFailure(feedWell, "Unknown exception");
}

TEST_F(GuardedRaise, IsThrownAndNotLoggedWhileItsThreadSaysSo) {
    CapturedLog const log(getBaseLogger());
    {
        UnloggedRaises const outer;
        {
            UnloggedRaises const inner;
            expectRaised(raise(feedWell));
        }
        expectRaised(raise(feedWell));
        EXPECT_EQ(raise(feedMissing)->type, std::type_index(typeid(BaseException)));
        EXPECT_TRUE(log.getRecords().empty());
        inOtherThread([] { raise(feedWell); });
        EXPECT_EQ(log.getRecords().size(), 1U); // of the other thread
        warn(feedWell);
        EXPECT_EQ(log.getRecords().size(), 2U); // no raise
    }
    raise(feedWell);
    EXPECT_EQ(log.getRecords().size(), 3U);
}

TEST_F(GuardedRaise, ThrowsTheClassOfItsKindAndWritesOneRecordBothWithTextAndPlace) {
    CapturedLog const log(getBaseLogger());
    expectRaised(raise(feedWell));
    expectRecord(log, getBaseLoggerName() + ".GuardedRaiseTest", ERROR_LOG_LEVEL, g_text);
}

TEST_F(GuardedRaise, HereIsTheSignatureTheFileAndTheLineWhereItStands) {
    RaiseSite const site = VELMO_HERE;
    unsigned int const line = __LINE__ - 1;
    EXPECT_STREQ(site.function, __PRETTY_FUNCTION__);
    EXPECT_STREQ(site.file, "tests/host/VELMOUtil/GuardedRaiseTest.cpp");
    EXPECT_EQ(site.line, line);
}

namespace {

[[noreturn]] void raiseWithSignature(int const& /*number*/, std::vector<int> const& /*numbers*/) {
    raiseGuarded(VELMO_HERE, g_raise, feedWell);
}

} // namespace

TEST_F(GuardedRaise, TheFunctionIsTheSignatureOfTheRaiseSiteAndNotOfWhatItCalls) {
    std::string const function = getThrown([] { raiseWithSignature(1, {}); })->exception.getFunction();
    EXPECT_NE(function.find("raiseWithSignature(const int"), std::string::npos) << function;
}

TEST_F(GuardedRaise, AboveErrorTheSameExceptionIsThrownAndNoLogReached) {
    Threshold const threshold(getLogger(), FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    expectRaised(raise(feedWell));
    EXPECT_TRUE(log.getRecords().empty());
    FailingLog const failing(getLogger(), [] { throw 42; });
    expectRaised(raise(feedWell));
}

TEST_F(GuardedRaise, AGuardsFailureAboveErrorOfTheBaseLoggerIsThrownWithoutARecord) {
    Threshold const threshold(getBaseLogger(), FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise([](LogMessageFormater&) { throw 42; });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    EXPECT_EQ(thrown->cause, "Unknown exception");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(GuardedRaise, ThreadsRaiseAndLogAtOnceEachWithItsOwnText) {
    constexpr unsigned int nbThreads = 8;
    constexpr unsigned int nbRounds = 50;
    CapturedLog const log(getBaseLogger());
    std::atomic<unsigned int> nbRight{0};
    onThreads(nbThreads, [&](unsigned int thread) {
        for (unsigned int round = 0; round < nbRounds; ++round) {
            std::string const text =
                "Failed at " + std::to_string(thread) + "\n" + std::to_string(round) + " times";
            nbRight += raise([&](LogMessageFormater& formater) {
                           formater[Message::eRTM_Two] % thread % round;
                       })->exception.what() == text;
            nbRight += raise([](LogMessageFormater&) { throw 42; })->cause == "Unknown exception";
            nbRight += !warn(feedWell);
        }
    });
    EXPECT_EQ(nbRight, 3 * nbThreads * nbRounds);
    EXPECT_EQ(log.getRecords().size(), 3U * nbThreads * nbRounds);
}

// Logging without a raise

TEST_F(GuardedRaise, ALogWritesOneRecordAtItsLevelAndPlaceAndThrowsNothing) {
    for (int const level : {WARN_LOG_LEVEL, ERROR_LOG_LEVEL}) {
        CapturedLog const log(getBaseLogger());
        EXPECT_NO_THROW(logGuarded(g_site, g_raise, level, feedWell));
        expectRecord(log, getBaseLoggerName() + ".GuardedRaiseTest", level, g_text);
    }
}

TEST_F(GuardedRaise, BelowTheThresholdNothingIsFormattedAndAMessageThatDoesNotFitIsNoFailure) {
    Threshold const threshold(getLogger(), ERROR_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    int nbFed = 0;
    Feed const feed = [&](LogMessageFormater& formater) {
        ++nbFed;
        feedWell(formater);
    };
    warn(feed);
    EXPECT_FALSE(warn(feedMissing));
    EXPECT_EQ(nbFed, 0);
    EXPECT_TRUE(log.getRecords().empty());
    logGuarded(g_site, g_raise, ERROR_LOG_LEVEL, feed);
    EXPECT_EQ(nbFed, 1);
    EXPECT_EQ(log.getRecords().size(), 1U);
}

} // namespace velmo::test
