// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"
#include "ThrownText.h"
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

namespace velmo::test {

namespace {

using namespace std::string_literals;

} // namespace

TEST(XmlArchive, IsAnElementForEachItemAndSectionInTheirOrder) {
    std::ostringstream stream;
    XmlOArchive archive(stream);
    archive << oItem("number", -2) << oItem("count", 4000000000U);
    {
        ArchiveSectionManager const outer(archive, "outer");
        archive << oItem("size", 18446744073709551615UL);
        {
            ArchiveSectionManager const inner(archive, "inner");
            archive << oItem("ratio", 0.1F);
        }
        archive << oItem("text", "words"s);
    }
    archive << oItem("last", 1);
    EXPECT_EQ(stream.str(), ""); // until the archive is finished
    archive.finish();

    EXPECT_EQ(stream.str(), "<?xml version=\"1.0\"?>\n"
                            "<archive>\n"
                            "\t<item name=\"number\" value=\"-2\" />\n"
                            "\t<item name=\"count\" value=\"4000000000\" />\n"
                            "\t<section name=\"outer\">\n"
                            "\t\t<item name=\"size\" value=\"18446744073709551615\" />\n"
                            "\t\t<section name=\"inner\">\n"
                            "\t\t\t<item name=\"ratio\" value=\"0.1\" />\n"
                            "\t\t</section>\n"
                            "\t\t<item name=\"text\" value=\"words\" />\n"
                            "\t</section>\n"
                            "\t<item name=\"last\" value=\"1\" />\n"
                            "</archive>\n");
    std::ostringstream once;
    { XmlOArchive(once).finish(); }
    EXPECT_EQ(once.str(), "<?xml version=\"1.0\"?>\n<archive />\n");
}

TEST(XmlArchive, NamesWithMarkupReadBack) {
    std::stringstream stream;
    {
        XmlOArchive archive(stream);
        ArchiveSectionManager const section(archive, "shared_ptr<velmo::X>");
        archive << oItem("a<b>&\"c\"", 5);
    }
    XmlIArchive archive(stream);
    ArchiveSectionManager const section(archive, "shared_ptr<>");
    int value = 0;
    archive >> iItem("a<b>&\"c\"", value);
    EXPECT_EQ(value, 5);
}

TEST(XmlArchive, TheNameOfASectionNeedNotMatch) {
    std::stringstream stream("<archive><section name=\"written\"><section name=\"shared_ptr&lt;X&gt;\">"
                             "<item name=\"i\" value=\"7\"/></section></section></archive>");
    XmlIArchive archive(stream);
    ArchiveSectionManager const outer(archive, "read");
    ArchiveSectionManager const inner(archive, "shared_ptr<>");
    int value = 0;
    archive >> iItem("i", value);
    EXPECT_EQ(value, 7);
}

TEST(XmlArchive, ASectionLeftEarlyIsPassedOver) {
    std::stringstream stream("<archive><section name=\"s\"><item name=\"a\" value=\"1\"/>"
                             "<section name=\"inner\"/></section><item name=\"b\" value=\"2\"/></archive>");
    XmlIArchive archive(stream);
    { ArchiveSectionManager const section(archive, "s"); }
    int value = 0;
    archive >> iItem("b", value);
    EXPECT_EQ(value, 2);
}

TEST(XmlArchive, AnExceptionClosesItsSection) {
    std::ostringstream stream;
    {
        XmlOArchive archive(stream);
        try {
            ArchiveSectionManager const section(archive, "s");
            throw std::runtime_error("inside");
        } catch (std::runtime_error const&) {
            archive << oItem("behind", 1);
        }
    }
    EXPECT_EQ(stream.str(), "<?xml version=\"1.0\"?>\n<archive>\n\t<section name=\"s\" />\n"
                            "\t<item name=\"behind\" value=\"1\" />\n</archive>\n");
}

TEST(XmlArchive, CommentsAndWhiteSpaceBetweenElementsAreNoItems) {
    std::stringstream stream("<?xml version=\"1.0\"?><!-- by hand -->\n<archive>\n  <!-- first -->\n"
                             "  <item name='a' value='1'></item>\n\n <!-- second --> "
                             "<item value=\"2\" name=\"b\"/>\n</archive><!-- end -->");
    XmlIArchive archive(stream);
    int a = 0;
    int b = 0;
    archive >> iItem("a", a) >> iItem("b", b);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
}

namespace {

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
