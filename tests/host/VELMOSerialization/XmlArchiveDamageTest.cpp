// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"
#include "ThrownText.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace velmo::test {

namespace {

using namespace std::string_literals;
using testing::StartsWith;

/// The error of reading one item named "i" from the text of an archive's inside.
template <class T>
std::string readError(std::string const& inside) {
    std::istringstream stream("<archive>" + inside + "</archive>");
    XmlIArchive archive(stream);
    T value{};
    std::string const text = thrownText<VELMOSerializationException>([&] { archive >> iItem("i", value); });
    EXPECT_EQ(value, T{});
    return text;
}

template <class T>
void expectNoValue(std::vector<std::string> const& texts) {
    for (std::string const& text : texts) {
        EXPECT_EQ(readError<T>("<item name=\"i\" value=\"" + text + "\"/>"),
                  "Item i of the archive has no value of its type: " + text);
    }
}

std::string openError(std::string const& text) {
    std::istringstream stream(text);
    return thrownText<VELMOSerializationException>([&] { XmlIArchive archive(stream); });
}

} // namespace

TEST(XmlArchiveDamage, ATextThatIsNoValueOfItsTypeIsRefused) {
    expectNoValue<int>({"", " ", "x", "1x", " 1", "1 ", "1.5", "+1", "0x10", "--1", "2147483648",
                        "-2147483649", "99999999999999999999"});
    expectNoValue<unsigned int>({"", "x", "-1", "4294967296", "1.0"});
    expectNoValue<unsigned long>({"", "x", "-1", "18446744073709551616", "1e3"});
    expectNoValue<float>({"", "x", "1.5x", "1,5", " 1", "1e39", "-1e39", "1e"});
}

TEST(XmlArchiveDamage, ATextWithAZeroByteIsRefusedOnWriting) {
    std::ostringstream stream;
    XmlOArchive archive(stream);
    std::string const text("a\0b"s);
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive << oItem("i", text); }),
              "Item i holds a zero byte, which XML cannot carry");
}

TEST(XmlArchiveDamage, AnItemThatIsNotWhereItIsExpectedIsMissing) {
    std::string const missing("The archive has no item i where it is expected");
    for (char const* const inside :
         {"", "<item name=\"i\"/>", "<item name=\"j\" value=\"1\"/>", "<item name=\"I\" value=\"1\"/>",
          "<item value=\"1\"/>", "<item name=\"j\" value=\"1\"/><item name=\"i\" value=\"1\"/>",
          "<section name=\"i\" value=\"1\"/>", "<other name=\"i\" value=\"1\"/>",
          "<section><item name=\"i\" value=\"1\"/></section>", "text<item name=\"i\" value=\"1\"/>"}) {
        EXPECT_EQ(readError<int>(inside), missing) << inside;
        EXPECT_EQ(readError<std::string>(inside), missing) << inside;
    }
}

TEST(XmlArchiveDamage, ASectionThatIsNotWhereItIsExpectedIsMissing) {
    for (std::string const& inside : {""s, "<item name=\"s\" value=\"1\"/>"s, "<other name=\"s\"/>"s}) {
        std::istringstream stream("<archive>" + inside + "</archive>");
        XmlIArchive archive(stream);
        EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive.readObject("s"); }),
                  "The archive has no item s where it is expected");
    }
}

TEST(XmlArchiveDamage, WhatIsNoXmlOrNoArchiveIsRefusedAtOnce) {
    for (std::string const& text :
         {""s, "words"s, "<archive>"s, "<archive><item></archive>"s, "<archive><item name=></archive>"s,
          "</archive>"s, "<archive><item name=\"a\" value=\"1/></archive>"s, "\0\0\0\0"s, "<archive/><"s}) {
        EXPECT_THAT(openError(text), StartsWith("The archive is no valid XML: ")) << text;
    }
    EXPECT_EQ(openError("<other/>"), "The archive is no valid XML: no element archive");
}

TEST(XmlArchiveDamage, ARecordCutAtAnyByteIsRefused) {
    std::ostringstream output;
    {
        XmlOArchive archive(output);
        archive.writeObject("p", makeNestedRecord());
    }
    std::string const text = output.str();
    std::string const end("</archive>\n");
    ASSERT_EQ(text.substr(text.size() - end.size()), end);
    for (std::size_t size = 0; size < text.size() - 1; ++size) { // the last line feed may be missing
        EXPECT_THAT(openError(text.substr(0, size)), StartsWith("The archive is no valid XML: ")) << size;
    }
}

TEST(XmlArchiveDamage, ObjectsNestedTooDeepAreRefused) {
    std::string text("<archive>");
    for (int i = 0; i < 5000; ++i) {
        text += "<section><item name=\"className\" value=\"velmo::test::Chain\"/>";
    }
    for (int i = 0; i < 5000; ++i) {
        text += "</section>";
    }
    std::istringstream stream(text + "</archive>");
    XmlIArchive archive(stream);
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive.readObject("p"); }),
              "Section pNext of the archive is nested deeper than 64 levels");
}

TEST(XmlArchiveDamage, AStreamThatFailsIsRaisedAtTheFinishAndGoesUnseenAtTheDestruction) {
    std::ofstream stream("/dev/full");
    XmlOArchive archive(stream);
    archive << oItem("item", 1);
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive.finish(); }),
              "The stream of the archive failed at item archive");
    std::ofstream unseen("/dev/full");
    { XmlOArchive destroyed(unseen); }
    EXPECT_FALSE(unseen.flush());
}

} // namespace velmo::test
