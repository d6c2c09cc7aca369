// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Frame/LogAccess.h"

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
#include <cxxabi.h>
#include <functional>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <optional>

namespace velmo::test {

namespace {

using namespace image::file;

using Feed = std::function<void(LogMessageFormater&)>;

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
        EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(records[0].message, thrown->exception.what());
        EXPECT_EQ(records[0].file, thrown->exception.getFile());
        EXPECT_EQ(records[0].line, static_cast<int>(thrown->exception.getLine()));
    }
}

TEST(Raise, AMessageThatIsNotRegisteredIsAPlainBaseExceptionInTheRecordOfTheBaseLogger) {
    std::string const rawDomain = "N5velmo5image4file20eRawImageFileMessage6domainE";
    for (auto const& [domain, id] : {std::make_pair(rawDomain, 15), {"NoSuchDomain", 0}}) {
        CapturedLog const log(getBaseLogger());
        auto const thrown = raise(g_velmoImageFileRaise, [domain = domain, id = id](auto& formater) {
            formater.setMsgId(domain, id);
        });
        ASSERT_TRUE(thrown);
        EXPECT_TRUE(*thrown->pType == typeid(BaseException)) << thrown->pType->name();
        ASSERT_NE(thrown->exception.getCause(), nullptr);
        EXPECT_NE(std::string(thrown->exception.getCause()->what()).find(domain), std::string::npos);
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].logger, getBaseLoggerName());
    }
}

TEST(Exceptions, EachClassDerivesSinglyAndDirectlyFromTheRoot) {
    expectPlainBaseExceptionClass<VELMOImageFileException>();
    expectPlainBaseExceptionClass<image::VELMOImageException>();
    expectPlainBaseExceptionClass<VELMOUtilException>();
    expectPlainBaseExceptionClass<VELMOSerializationException>();
    expectPlainBaseExceptionClass<processor::VELMOBaseProcessingException>();
}

} // namespace velmo::test
