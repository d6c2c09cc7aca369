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
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <optional>
#include <stdexcept>
#include <thread>
#include <typeindex>
#include <vector>

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

using Message = eRaiseTestMessage;
using Feed = std::function<void(LogMessageFormater&)>;

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

auto const feedWell = [](LogMessageFormater& formater) { formater[Message::eRTM_Two] % "one" % 2; };

/// What a raise throws, with the class of it and of its cause.
struct Thrown {
    std::type_index type;
    BaseException exception;
    std::string cause;
};

std::optional<Thrown> raise(Feed const& feed) {
    try {
        raiseGuarded(g_site, g_raise, feed);
    } catch (BaseException const& exception) {
        BaseException const* const pCause = exception.getCause();
        return Thrown{typeid(exception), exception, pCause == nullptr ? "none" : pCause->what()};
    }
}

class GuardedRaise : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        getManager().addMessage(Message::eRTM_Two, "Failed at %s\n%d times");
        getManager().addMessage(Message::eRTM_Plain, "Failed");
    }
};

void expectPlace(BaseException const& exception) {
    EXPECT_EQ(exception.getFunction(), g_site.function);
    EXPECT_EQ(exception.getFile(), g_site.file);
    EXPECT_EQ(exception.getLine(), g_site.line);
}

/// A failure on the way: a plain BaseException, and one ERROR record which the base logger itself wrote.
void expectGuardFailure(Feed const& feed, std::string const& cause) {
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise(feed);
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->type, std::type_index(typeid(BaseException)));
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    EXPECT_NE(thrown->cause.find(cause), std::string::npos) << thrown->cause;
    expectPlace(thrown->exception);
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getBaseLoggerName());
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message, g_guardText);
    EXPECT_EQ(records[0].file, g_site.file);
    EXPECT_EQ(records[0].line, static_cast<int>(g_site.line));
}

} // namespace

TEST_F(GuardedRaise, IsThrownAndNotLoggedWhileItsThreadSaysSo) {
    CapturedLog const log(getBaseLogger());
    {
        UnloggedRaises const outer;
        {
            UnloggedRaises const inner;
            EXPECT_STREQ(raise(feedWell)->exception.what(), "Failed at one\n2 times");
        }
        auto const thrown = raise(feedWell);
        EXPECT_EQ(thrown->type, std::type_index(typeid(RaiseTestException)));
        expectPlace(thrown->exception);
        EXPECT_EQ(raise([](LogMessageFormater& formater) { formater[Message::eRTM_Missing]; })->type,
                  std::type_index(typeid(BaseException)));
        EXPECT_TRUE(log.getRecords().empty());
        std::thread([] { raise(feedWell); }).join();
        EXPECT_EQ(log.getRecords().size(), 1U); // of the other thread
        logGuarded(g_site, g_raise, log4cplus::WARN_LOG_LEVEL, feedWell);
        EXPECT_EQ(log.getRecords().size(), 2U); // no raise
    }
    raise(feedWell);
    EXPECT_EQ(log.getRecords().size(), 3U);
}

TEST_F(GuardedRaise, ThrowsTheClassOfItsKindWithTheTextAndThePlace) {
    auto const thrown = raise(feedWell);
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->type, std::type_index(typeid(RaiseTestException)));
    EXPECT_STREQ(thrown->exception.what(), "Failed at one\n2 times");
    EXPECT_EQ(thrown->exception.getCause(), nullptr);
    expectPlace(thrown->exception);
}

TEST_F(GuardedRaise, WritesOneRecordToTheLoggerOfItsKindWithThePlaceOfTheException) {
    CapturedLog const log(getBaseLogger());
    raise(feedWell);
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getBaseLoggerName() + ".GuardedRaiseTest");
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message, "Failed at one\n2 times");
    EXPECT_EQ(records[0].file, g_site.file);
    EXPECT_EQ(records[0].line, static_cast<int>(g_site.line));
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
    try {
        raiseWithSignature(1, {});
    } catch (RaiseTestException const& exception) {
        EXPECT_NE(exception.getFunction().find("raiseWithSignature(const int"), std::string::npos)
            << exception.getFunction();
    }
}

TEST_F(GuardedRaise, AMissingEntrySurfacesAsTheGuardsException) {
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Missing] % "one"; },
                       "No message with id 3");
}

TEST_F(GuardedRaise, TooManyArgumentsSurfaceAsTheGuardsException) {
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two] % 1 % 2 % 3; },
                       "too_many_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Plain] % 1; },
                       "too_many_args");
}

TEST_F(GuardedRaise, TooFewArgumentsSurfaceAsTheGuardsException) {
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two]; }, "too_few_args");
    expectGuardFailure([](LogMessageFormater& formater) { formater[Message::eRTM_Two] % 1; }, "too_few_args");
}

TEST_F(GuardedRaise, ABaseExceptionOfTheFeedIsChainedWithItsPlace) {
    auto const feed = [](LogMessageFormater&) {
        throw RaiseTestException("the feed failed", "void feed()", "Feed.cpp", 5);
    };
    expectGuardFailure(feed, "the feed failed");
    auto const thrown = raise(feed);
    ASSERT_TRUE(thrown);
    ASSERT_NE(thrown->exception.getCause(), nullptr);
    EXPECT_EQ(thrown->exception.getCause()->getFunction(), "void feed()");
    EXPECT_EQ(thrown->exception.getCause()->getLine(), 5U);
}

TEST_F(GuardedRaise, AStandardExceptionOfTheFeedIsChainedByItsText) {
    expectGuardFailure([](LogMessageFormater&) { throw std::runtime_error("no such thing"); },
                       "no such thing");
}

TEST_F(GuardedRaise, AnythingElseThrownByTheFeedIsChainedAsUnknown) {
    expectGuardFailure([](LogMessageFormater&) { throw 42; }, "Unknown exception");
}

TEST_F(GuardedRaise, ALogThatThrowsABaseExceptionSurfacesAsTheGuardsException) {
    FailingLog const failing(getLogger(), [] { throw RaiseTestException("the log failed", "", "", 1); });
    expectGuardFailure(feedWell, "the log failed");
}

TEST_F(GuardedRaise, ALogThatThrowsAStandardExceptionSurfacesAsTheGuardsException) {
    FailingLog const failing(getLogger(), [] { throw std::runtime_error("the disk is full"); });
    expectGuardFailure(feedWell, "the disk is full");
}

TEST_F(GuardedRaise, ALogThatThrowsAnythingElseSurfacesAsTheGuardsException) {
    FailingLog const failing(getLogger(), [] { throw 42; });
    expectGuardFailure(feedWell, "Unknown exception");
}

TEST_F(GuardedRaise, AboveErrorNoRecordIsWrittenAndTheSameExceptionIsThrown) {
    Threshold const threshold(getLogger(), log4cplus::FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise(feedWell);
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->type, std::type_index(typeid(RaiseTestException)));
    EXPECT_STREQ(thrown->exception.what(), "Failed at one\n2 times");
    expectPlace(thrown->exception);
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(GuardedRaise, AboveErrorALogThatWouldThrowIsNotReached) {
    Threshold const threshold(getLogger(), log4cplus::FATAL_LOG_LEVEL);
    FailingLog const failing(getLogger(), [] { throw 42; });
    auto const thrown = raise(feedWell);
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->type, std::type_index(typeid(RaiseTestException)));
}

TEST_F(GuardedRaise, AGuardsFailureAboveErrorOfTheBaseLoggerIsThrownWithoutARecord) {
    Threshold const threshold(getBaseLogger(), log4cplus::FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise([](LogMessageFormater&) { throw 42; });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    EXPECT_EQ(thrown->cause, "Unknown exception");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(GuardedRaise, ThreadsRaiseAtOnceEachWithItsOwnText) {
    constexpr int nbThreads = 8;
    constexpr int nbRaises = 50;
    CapturedLog const log(getBaseLogger());
    std::atomic<int> nbRight{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < nbThreads; ++thread) {
        threads.emplace_back([thread, &nbRight] {
            for (int i = 0; i < nbRaises; ++i) {
                auto const thrown =
                    raise([&](LogMessageFormater& formater) { formater[Message::eRTM_Two] % thread % i; });
                std::string const text =
                    "Failed at " + std::to_string(thread) + "\n" + std::to_string(i) + " times";
                nbRight += thrown->exception.what() == text ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(nbRight, nbThreads * nbRaises);
    EXPECT_EQ(log.getRecords().size(), static_cast<std::size_t>(nbThreads * nbRaises));
}

TEST_F(GuardedRaise, GuardsOfManyThreadsFailAtOnce) {
    constexpr int nbThreads = 8;
    CapturedLog const log(getBaseLogger());
    std::atomic<int> nbRight{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < nbThreads; ++thread) {
        threads.emplace_back([&nbRight] {
            auto const thrown = raise([](LogMessageFormater&) { throw 42; });
            nbRight += thrown->cause == "Unknown exception" ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(nbRight, nbThreads);
    EXPECT_EQ(log.getRecords().size(), static_cast<std::size_t>(nbThreads));
}

} // namespace velmo::test
