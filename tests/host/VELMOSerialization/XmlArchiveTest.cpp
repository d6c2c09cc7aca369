// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
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

} // namespace velmo::test
