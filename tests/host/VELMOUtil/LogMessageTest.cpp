// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"
#include "ThrownText.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/LogMessageManager.h>
#include <boost/filesystem/path.hpp>
#include <boost/format/exceptions.hpp>
#include <gtest/gtest.h>
#include <locale>
#include <vector>

namespace velmo::test {

struct eFormaterTestMessage {
    enum domain {
        eLTM_Plain = 1,
        eLTM_One = 2,
        eLTM_Two = 3,
        eLTM_Kinds = 4,
        eLTM_Broken = 5,
        eLTM_Missing = 6
    };
};

namespace {

using Message = eFormaterTestMessage;

LogMessageManager& getManager() {
    static LogMessageManager& manager = [&]() -> LogMessageManager& {
        LogMessageManager& made = LogMessageManager::getInstance("LogMessageTest");
        made.addMessage(Message::eLTM_Plain, "Nothing to fill in, 100%% done");
        made.addMessage(Message::eLTM_One, "<%s>");
        made.addMessage(Message::eLTM_Two, "first %s, second %d.");
        made.addMessage(Message::eLTM_Kinds, "%s|%d|%lld|%f");
        made.addMessage(Message::eLTM_Broken, "%1% and %s");
        return made;
    }();
    return manager;
}

template <class T>
std::string format(T const& value, Message::domain id = Message::eLTM_One) {
    LogMessageFormater formater(getManager());
    formater[id] % value;
    formater.requireAllFed();
    return formater.string();
}

/// One value in placeholders of each kind.
template <class T>
std::string formatKinds(T const& value) {
    LogMessageFormater formater(getManager());
    formater[Message::eLTM_Kinds] % value % value % value % value;
    return formater.string();
}

} // namespace

TEST(LogMessageFormater, WritesNumbersAlikeWhateverTheLocaleOfTheProgram) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
        char do_decimal_point() const override { return ','; }
    };
    std::locale const former = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    std::string const text = format(1234567UL) + format(2.5F);
    std::locale::global(former);
    EXPECT_EQ(text, "<1234567><2.5>");
}

TEST(LogMessageManager, IsTheSameForTheSameNameAndForAllThreadsThatAskAtOnce) {
    std::vector<LogMessageManager*> managers(8, nullptr);
    onThreads(8, [&](unsigned int thread) {
        managers[thread] = &LogMessageManager::getInstance("LogMessageTest.race");
    });
    EXPECT_EQ(managers,
              std::vector<LogMessageManager*>(8, &LogMessageManager::getInstance("LogMessageTest.race")));
    EXPECT_NE(managers[0], &LogMessageManager::getInstance("LogMessageTest.other"));
}

TEST(LogMessageManager, GivesATextBackAsItWasRegisteredLast) {
    LogMessageManager& manager = LogMessageManager::getInstance("LogMessageTest.texts");
    manager.addMessage("key", 7, "old");
    manager.addMessage("other key", 7, "untouched");
    manager.addMessage("key", 7, "text with %s and 100%");
    manager.addMessage("key", 8, "");
    EXPECT_EQ(manager.getMessage("key", 7), "text with %s and 100%");
    EXPECT_EQ(manager.getMessage("key", 8), "");
    EXPECT_EQ(manager.getMessage("other key", 7), "untouched");
}

TEST(LogMessageManager, AMissingEntryIsThrownWithItsIdAndDomain) {
    LogMessageManager& manager = LogMessageManager::getInstance("LogMessageTest.missing");
    manager.addMessage("key", 1, "text");
    std::string const text = thrownText<BaseException>([&] { manager.getMessage("key", 24); });
    EXPECT_NE(text.find("24"), std::string::npos) << text;
    EXPECT_NE(text.find("key"), std::string::npos) << text;
    thrownText<BaseException>([&] { manager.getMessage("other key", 1); });
}

TEST(LogMessageManager, TheKeyOfADomainIsItsPlatformTypeName) {
    EXPECT_EQ(getManager().getMessage("N5velmo4test20eFormaterTestMessage6domainE", Message::eLTM_One),
              "<%s>");
}

TEST(LogMessageFormater, FindsAMessageByEnumeratorAndByTheSpelledOutKey) {
    LogMessageFormater byEnumerator(getManager());
    EXPECT_EQ(&byEnumerator[Message::eLTM_One], &byEnumerator);
    LogMessageFormater byKey(getManager());
    EXPECT_EQ(&byKey.setMsgId("N5velmo4test20eFormaterTestMessage6domainE", 2), &byKey);
    EXPECT_EQ(&(byKey % "x"), &byKey);
    byEnumerator % "x";
    EXPECT_EQ(byEnumerator.string(), "<x>");
    EXPECT_EQ(byKey.string(), "<x>");
}

TEST(LogMessageFormater, TakesEveryKindOfArgument) {
    char const* const pText = "pointed at";
    EXPECT_EQ(format(std::string("a string")), "<a string>");
    EXPECT_EQ(format(pText), "<pointed at>");
    EXPECT_EQ(format("a literal"), "<a literal>");
    EXPECT_EQ(format(""), "<>");
    EXPECT_EQ(format("100%s %d %"), "<100%s %d %>"); // no placeholders
    EXPECT_EQ(format(18446744073709551615UL), "<18446744073709551615>");
    EXPECT_EQ(format(4294967295U), "<4294967295>");
    EXPECT_EQ(format(-2147483647 - 1), "<-2147483648>");
    EXPECT_EQ(format(static_cast<short>(-32768)), "<-32768>");
    EXPECT_EQ(format(0.5F), "<0.5>");
}

TEST(LogMessageFormater, APlaceholderOfAnyKindTakesAnArgumentOfAnyType) {
    EXPECT_EQ(formatKinds(std::string("text")), "text|text|text|text");
    EXPECT_EQ(formatKinds("text"), "text|text|text|text");
    EXPECT_EQ(formatKinds(-12), "-12|-12|-12|-12");
    EXPECT_EQ(formatKinds(18446744073709551615UL),
              "18446744073709551615|18446744073709551615|18446744073709551615|18446744073709551615");
    EXPECT_EQ(formatKinds(2.5F), "2.5|2.5|2.5|2.500000"); // %f asks for fixed digits
    EXPECT_EQ(formatKinds(boost::filesystem::path("/a")), "\"/a\"|\"/a\"|\"/a\"|\"/a\"");
}

TEST(LogMessageFormater, APathIsQuotedAndItsStringIsBare) {
    struct {
        char const* path;
        char const* text;
    } const rows[] = {{"/tmp/plain.tif", "<\"/tmp/plain.tif\">"},
                      {"/tmp/with blank.tif", "<\"/tmp/with blank.tif\">"},
                      {"/tmp/a\"b", "<\"/tmp/a&\"b\">"},
                      {"/tmp/a&b", "<\"/tmp/a&&b\">"},
                      {"", "<\"\">"}};
    for (auto const& row : rows) {
        EXPECT_EQ(format(boost::filesystem::path(row.path)), row.text);
        EXPECT_EQ(format(boost::filesystem::path(row.path).string()), "<" + std::string(row.path) + ">");
    }
}

TEST(LogMessageFormater, PlaceholdersThatWereNotFedAreEmpty) {
    LogMessageFormater formater(getManager());
    formater[Message::eLTM_Two];
    EXPECT_EQ(formater.string(), "first , second .");
    formater % "one";
    EXPECT_EQ(formater.string(), "first one, second .");
    EXPECT_THROW(formater.requireAllFed(), boost::io::too_few_args);
    formater % 2;
    EXPECT_EQ(formater.string(), "first one, second 2.");
    EXPECT_NO_THROW(formater.requireAllFed());
}

TEST(LogMessageFormater, AnArgumentTooManyIsThrownAndLeavesTheText) {
    LogMessageFormater formater(getManager());
    formater[Message::eLTM_Plain];
    EXPECT_EQ(formater.string(), "Nothing to fill in, 100% done");
    EXPECT_NO_THROW(formater.requireAllFed());
    EXPECT_THROW(formater % "one", boost::io::too_many_args);
    EXPECT_EQ(formater.string(), "Nothing to fill in, 100% done");
}

TEST(LogMessageFormater, ItsStreamTakesTextOfNoCatalogueAndFurtherMessagesAreAppended) {
    LogMessageFormater formater(getManager());
    EXPECT_EQ(formater.string(), "");
    formater.getStream() << "100% free text, " << 3 << ' ';
    EXPECT_EQ(formater.string(), "100% free text, 3 ");
    formater[Message::eLTM_One] % "one";
    formater[Message::eLTM_Two] % "two" % 3;
    EXPECT_EQ(formater.string(), "100% free text, 3 <one>first two, second 3.");
}

TEST(LogMessageFormater, AMissingMessageAndATextThatIsNoFormatAreThrown) {
    LogMessageFormater formater(getManager());
    thrownText<BaseException>([&] { formater[Message::eLTM_Missing]; });
    EXPECT_EQ(formater.string(), "");
    EXPECT_THROW(formater[Message::eLTM_Broken], boost::io::bad_format_string);
}

} // namespace velmo::test
