// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Frame/LogAccess.h"
#include "Threshold.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/path.hpp>
#include <boost/format/exceptions.hpp>
#include <cxxabi.h>
#include <functional>
#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>
#include <memory>
#include <optional>
#include <stdexcept>

namespace velmo::test {

namespace {

using namespace image::file;

using Feed = std::function<void(LogMessageFormater&)>;

std::string const g_guardText("Exception thrown while processing message");

/// The one place from which the tests raise.
RaiseSite getSite() {
    return VELMO_HERE;
}

void feedLoadError(LogMessageFormater& formater) {
    formater[eRawImageFileMessage::eRIFM_LoadFileError] % boost::filesystem::path("/tmp/a.raw") % "why";
}

/// What a raise throws, with its dynamic type.
struct Thrown {
    std::type_info const* pType;
    BaseException exception;
};

std::optional<Thrown> raise(RaiseKind const& kind, Feed const& feed, RaiseSite const& site = getSite()) {
    try {
        raiseGuarded(site, kind, feed);
    } catch (BaseException const& exception) {
        return Thrown{&typeid(exception), exception};
    }
    return std::nullopt;
}

/// Whether a class has one base, public and not virtual, and which.
std::type_info const* getOnlyBase(std::type_info const& type) {
    auto const* const pType = dynamic_cast<abi::__si_class_type_info const*>(&type);
    return pType == nullptr ? nullptr : pType->__base_type;
}

template <class Exception>
void expectPlainBaseExceptionClass() {
    ASSERT_NE(getOnlyBase(typeid(Exception)), nullptr);
    EXPECT_TRUE(*getOnlyBase(typeid(Exception)) == typeid(BaseException));
    EXPECT_EQ(sizeof(Exception), sizeof(BaseException));
}

/// A failure on the way of a raise: a plain BaseException and one record on the base logger.
void expectGuardFailure(Feed const& feed, std::string const& causeText) {
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise(g_velmoImageFileRaise, feed);
    ASSERT_TRUE(thrown);
    EXPECT_TRUE(*thrown->pType == typeid(BaseException)) << thrown->pType->name();
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    EXPECT_EQ(thrown->exception.getFunction(), getSite().function);
    EXPECT_EQ(thrown->exception.getFile(), getSite().file);
    EXPECT_EQ(thrown->exception.getLine(), getSite().line);
    ASSERT_NE(thrown->exception.getCause(), nullptr);
    EXPECT_NE(std::string(thrown->exception.getCause()->what()).find(causeText), std::string::npos)
        << thrown->exception.getCause()->what();
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getBaseLoggerName());
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message, g_guardText);
    EXPECT_EQ(records[0].file, getSite().file);
    EXPECT_EQ(records[0].line, static_cast<int>(getSite().line));
}

class ThrowingAppender : public log4cplus::Appender {
  public:
    ~ThrowingAppender() override { destructorImpl(); }
    void close() override {}

  protected:
    void append(log4cplus::spi::InternalLoggingEvent const& /*event*/) override {
        throw std::runtime_error("the disk of the log is full");
    }
};

/// A row of a kind: what belongs together.
struct KindCase {
    char const* library;
    RaiseKind const* pKind;
    std::type_info const* pException;
    LogMessageManager& (*getManager)();
    log4cplus::Logger& (*getLogger)();
    Feed feed;
};

std::vector<KindCase> getKinds() {
    return {
        {"VELMOImageFile", &g_velmoImageFileRaise, &typeid(VELMOImageFileException),
         getVELMOImageFileLogMessageManager, getVELMOImageFileLogger, feedLoadError},
        {"VELMOImage", &image::g_velmoImageRaise, &typeid(image::VELMOImageException),
         image::getVELMOImageLogMessageManager, image::getVELMOImageLogger,
         [](auto& formater) { formater.setMsgId("N5velmo5image21eImageAccessorMessage6domainE", 1); }},
        {"VELMOUtil", &g_velmoUtilRaise, &typeid(VELMOUtilException), getVELMOUtilLogMessageManager,
         getVELMOUtilLogger,
         [](auto& formater) { formater.setMsgId("N5velmo16eVELMOUtilErrors6domainE", 3) % "name"; }},
        {"VELMOSerialization", &g_velmoSerializationRaise, &typeid(VELMOSerializationException),
         getVELMOSerializationLogMessageManager, getVELMOSerializationLogger,
         [](auto& formater) {
             formater.setMsgId("N5velmo26eVELMOSerializationMessage6domainE", 25) % 3U % "name" % 2U;
         }},
        {"VELMOBaseProcessing", &processor::g_velmoBaseProcessingRaise,
         &typeid(processor::VELMOBaseProcessingException), processor::getVELMOBaseProcessingLogMessageManager,
         processor::getVELMOBaseProcessingLogger,
         [](auto& formater) {
             formater.setMsgId("N5velmo9processor17eProcessorMessage6domainE", 1) % "a" % "b";
         }},
    };
}

} // namespace

TEST(Raise, ThrowsTheKindsExceptionWithItsTextAndPlace) {
    auto const thrown = raise(g_velmoImageFileRaise, feedLoadError);
    ASSERT_TRUE(thrown);
    EXPECT_TRUE(*thrown->pType == typeid(VELMOImageFileException));
    EXPECT_STREQ(thrown->exception.what(), "Error while loading raw image file \"/tmp/a.raw\"\nwhy");
    EXPECT_EQ(thrown->exception.getFunction(), getSite().function);
    EXPECT_NE(thrown->exception.getFunction().find("getSite()"), std::string::npos);
    EXPECT_EQ(thrown->exception.getFile(), "tests/Frame/RaiseTest.cpp");
    EXPECT_EQ(thrown->exception.getLine(), getSite().line);
    EXPECT_EQ(thrown->exception.getCause(), nullptr);
}

TEST(Raise, WritesOneErrorRecordWithTheExceptionsPlace) {
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise(g_velmoImageFileRaise, feedLoadError);
    ASSERT_TRUE(thrown);
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getVELMOImageFileLoggerName());
    EXPECT_EQ(records[0].level, 40000);
    EXPECT_EQ(records[0].message, thrown->exception.what());
    EXPECT_EQ(records[0].file, thrown->exception.getFile());
    EXPECT_EQ(records[0].line, static_cast<int>(thrown->exception.getLine()));
}

TEST(Raise, EveryKindHasItsOwnManagerLoggerAndException) {
    for (KindCase const& kind : getKinds()) {
        SCOPED_TRACE(kind.library);
        EXPECT_EQ(&kind.pKind->getManager(), &kind.getManager());
        EXPECT_EQ(&kind.pKind->getManager(), &LogMessageManager::getInstance(kind.library));
        EXPECT_EQ(&kind.pKind->getLogger(), &kind.getLogger());
        CapturedLog const log(getBaseLogger());
        auto const thrown = raise(*kind.pKind, kind.feed);
        ASSERT_TRUE(thrown);
        EXPECT_TRUE(*thrown->pType == *kind.pException) << thrown->pType->name();
        auto const records = log.getRecords();
        ASSERT_EQ(records.size(), 1U);
        EXPECT_EQ(records[0].logger, getBaseLoggerName() + "." + kind.library);
        EXPECT_EQ(records[0].message, thrown->exception.what());
    }
}

TEST(Raise, AThresholdAboveErrorSuppressesTheRecordAndNothingElse) {
    auto const logged = raise(g_velmoImageFileRaise, feedLoadError);
    Threshold const threshold(getVELMOImageFileLogger(), log4cplus::FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    auto const silent = raise(g_velmoImageFileRaise, feedLoadError);
    EXPECT_TRUE(log.getRecords().empty());
    ASSERT_TRUE(logged && silent);
    EXPECT_TRUE(*silent->pType == *logged->pType);
    EXPECT_STREQ(silent->exception.what(), logged->exception.what());
    EXPECT_EQ(silent->exception.getLine(), logged->exception.getLine());
}

TEST(Raise, AMessageThatIsNotRegisteredIsAPlainBaseException) {
    expectGuardFailure(
        [](auto& formater) { formater.setMsgId("N5velmo5image4file20eRawImageFileMessage6domainE", 15); },
        "15");
    expectGuardFailure([](auto& formater) { formater.setMsgId("NoSuchDomain", 0); }, "NoSuchDomain");
}

TEST(Raise, TooFewArgumentsAreAPlainBaseException) {
    expectGuardFailure(
        [](auto& formater) { formater[eRawImageFileMessage::eRIFM_LoadFileError] % "path alone"; },
        boost::io::too_few_args(1, 2).what());
}

TEST(Raise, TooManyArgumentsAreAPlainBaseException) {
    expectGuardFailure(
        [](auto& formater) { formater[eRawImageFileMessage::eRIFM_OpenFileFailed] % "path" % "more"; },
        boost::io::too_many_args(1, 0).what());
}

TEST(Raise, WhatIsNoExceptionIsChainedAsAnUnhandledOne) {
    CapturedLog const log(getBaseLogger());
    auto const thrown = raise(g_velmoImageFileRaise, [](auto& /*formater*/) { throw 42; });
    ASSERT_TRUE(thrown);
    EXPECT_TRUE(*thrown->pType == typeid(BaseException));
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    ASSERT_NE(thrown->exception.getCause(), nullptr);
    EXPECT_EQ(thrown->exception.getCause()->getFunction(), getSite().function);
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST(Raise, ALogThatThrowsIsAPlainBaseException) {
    log4cplus::SharedAppenderPtr const pAppender(new ThrowingAppender);
    getVELMOImageFileLogger().addAppender(pAppender);
    expectGuardFailure(feedLoadError, "the disk of the log is full");
    getVELMOImageFileLogger().removeAppender(pAppender);
}

TEST(Raise, AGuardFailureWritesNothingWhereTheBaseLoggerIsAboveError) {
    Threshold const threshold(getBaseLogger(), log4cplus::FATAL_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    auto const thrown =
        raise(g_velmoImageFileRaise, [](auto& formater) { formater.setMsgId("NoSuchDomain", 0); });
    ASSERT_TRUE(thrown);
    EXPECT_EQ(thrown->exception.what(), g_guardText);
    EXPECT_TRUE(log.getRecords().empty());
}

TEST(Exceptions, EachClassDerivesSinglyAndDirectlyFromTheRoot) {
    expectPlainBaseExceptionClass<VELMOImageFileException>();
    expectPlainBaseExceptionClass<image::VELMOImageException>();
    expectPlainBaseExceptionClass<VELMOUtilException>();
    expectPlainBaseExceptionClass<VELMOSerializationException>();
    expectPlainBaseExceptionClass<processor::VELMOBaseProcessingException>();
}

TEST(Exceptions, AClassIsNotCaughtAsAnother) {
    for (KindCase const& kind : getKinds()) {
        bool bCaughtAsFileException = false;
        try {
            raiseGuarded(getSite(), *kind.pKind, kind.feed);
        } catch (VELMOImageFileException const&) {
            bCaughtAsFileException = true;
        } catch (BaseException const&) {
        }
        EXPECT_EQ(bCaughtAsFileException, kind.library == std::string("VELMOImageFile")) << kind.library;
    }
}

} // namespace velmo::test
