// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Results.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/Failures.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <boost/format/exceptions.hpp>
#include <log4cplus/loglevel.h>

namespace velmo::test {

struct eFailuresTestMessage {
    enum domain { eFTM_Two = 1, eFTM_Plain = 2, eFTM_Missing = 3 };
};

namespace {

using Message = eFailuresTestMessage;

LogMessageManager& getManager() {
    return LogMessageManager::getInstance("FailuresTest");
}

log4cplus::Logger& getLogger() {
    static log4cplus::Logger logger = log4cplus::Logger::getInstance(getBaseLoggerName() + ".FailuresTest");
    return logger;
}

class FailuresTestException : public BaseException {
  public:
    using BaseException::BaseException;
};

RaiseKind const g_kind = {getManager, getLogger, throwAs<FailuresTestException>};
RaiseSite const g_site = {"void somewhere(int)", "src/Somewhere.cpp", 77};

class Failures : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        getManager().addMessage(Message::eFTM_Two, "Failed at %s\n%d times");
        getManager().addMessage(Message::eFTM_Plain, "Failed");
    }

    void expectOneRecord(int level) const {
        auto const records = _log.getRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].level, level);
        EXPECT_EQ(records[0].message, "Failed at one\n2 times");
        EXPECT_EQ(records[0].file, g_site.file);
        EXPECT_EQ(records[0].line, static_cast<int>(g_site.line));
    }

    CapturedLog const _log{getBaseLogger()};
};

} // namespace

TEST_F(Failures, AResultHasTheTextAndIsNotLogged) {
    EXPECT_THAT(failMessage(g_kind, Message::eFTM_Two, "one", 2), FailsWith("Failed at one\n2 times"));
    EXPECT_THAT(failMessage(g_kind, Message::eFTM_Plain), FailsWith("Failed"));
    EXPECT_TRUE(_log.getRecords().empty());
}

TEST_F(Failures, AResultOfAnUnknownMessageOrOfTooManyArgumentsIsThrown) {
    EXPECT_THROW(static_cast<void>(failMessage(g_kind, Message::eFTM_Missing)), BaseException);
    EXPECT_THROW(static_cast<void>(failMessage(g_kind, Message::eFTM_Plain, 1)), boost::io::too_many_args);
}

TEST_F(Failures, AnExceptionIsOfItsKindWithTextAndPlaceAndIsLoggedAsAnError) {
    try {
        raiseMessage(g_site, g_kind, Message::eFTM_Two, "one", 2);
    } catch (FailuresTestException const& exception) {
        EXPECT_STREQ(exception.what(), "Failed at one\n2 times");
        EXPECT_EQ(exception.getFunction(), g_site.function);
        EXPECT_EQ(exception.getFile(), g_site.file);
        EXPECT_EQ(exception.getLine(), g_site.line);
    }
    expectOneRecord(log4cplus::ERROR_LOG_LEVEL);
}

TEST_F(Failures, AnExceptionWithoutAnArgumentIsOneOfTheProcessing) {
    try {
        raiseMessage(g_site, g_kind, Message::eFTM_Two, "one");
    } catch (BaseException const& exception) {
        EXPECT_STREQ(exception.what(), "Exception thrown while processing message");
    }
}

TEST_F(Failures, AWarningIsLogged) {
    warnMessage(g_site, g_kind, Message::eFTM_Two, "one", 2);
    expectOneRecord(log4cplus::WARN_LOG_LEVEL);
}

} // namespace velmo::test
