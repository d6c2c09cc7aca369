// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Results.h"
#include "SampleObjects.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::test {

namespace {

class XmlFile : public testing::Test {
  protected:
    std::string readError(boost::filesystem::path const& path) {
        return thrownText<VELMOSerializationException>([&] { readFromXmlFile(path, _record); });
    }
    std::string readErrorOf(std::string const& text) {
        writeFile(getPath(), text);
        return readError(getPath());
    }
    static std::string writeError(boost::filesystem::path const& path) {
        return thrownText<VELMOSerializationException>([&] { writeToXmlFile(path, Record()); });
    }
    boost::filesystem::path getPath() const { return _folder / "record.xml"; }
    TemporaryFolder const& getFolder() const { return _folder; }

  private:
    TemporaryFolder _folder;
    Record _record;
};

std::string fileError(boost::filesystem::path const& path, std::string const& reason) {
    return "Failed to reach the archive file \"" + path.string() + "\"\n" + reason;
}

} // namespace

TEST_F(XmlFile, AnObjectReadsBackWithTheObjectsThatItHolds) {
    writeToXmlFile(getPath(), *makeNestedRecord());
    auto const pRecord = boost::make_shared<Record>();
    readFromXmlFile(getPath(), *pRecord);
    expectNestedRecord(pRecord);
}

TEST_F(XmlFile, HoldsTheObjectAsASectionWithItsClass) {
    writeToXmlFile(getPath(), Chain());
    EXPECT_EQ(readFile(getPath()), "<?xml version=\"1.0\"?>\n"
                                   "<archive>\n"
                                   "\t<section name=\"object\">\n"
                                   "\t\t<item name=\"className\" value=\"velmo::test::Chain\" />\n"
                                   "\t\t<section name=\"pNext\">\n"
                                   "\t\t\t<item name=\"className\" value=\"\" />\n"
                                   "\t\t</section>\n"
                                   "\t</section>\n"
                                   "</archive>\n");
}

TEST_F(XmlFile, AnExistingFileIsReplacedWhole) {
    writeToXmlFile(getPath(), Chain());
    std::string const expected = readFile(getPath());
    writeFile(getPath(), std::string(100000, 'x'));
    writeToXmlFile(getPath(), Chain());
    EXPECT_EQ(readFile(getPath()), expected);
}

TEST_F(XmlFile, AMissingFileIsRaisedWithItsPathAndTheSystemsText) {
    EXPECT_EQ(readError(getPath()), fileError(getPath(), "No such file or directory"));
    EXPECT_FALSE(boost::filesystem::exists(getPath()));
}

TEST_F(XmlFile, AFolderIsRefusedOnReading) {
    EXPECT_EQ(readError(getFolder().getPath()), fileError(getFolder().getPath(), "Is a directory"));
}

TEST_F(XmlFile, AnObjectIsReadFromAPipe) {
    auto const path = getFolder().getPath() / "pipe.xml";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    writeToXmlFile(getPath(), *makeNestedRecord());
    int const held = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); // keeps what is written
    writeFile(path, readFile(getPath()));
    auto const pRecord = boost::make_shared<Record>();
    readFromXmlFile(path, *pRecord);
    close(held);
    expectNestedRecord(pRecord);
}

TEST_F(XmlFile, APipeWithoutAWriterIsRefused) {
    auto const path = getFolder().getPath() / "pipe.xml";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(readError(path),
              fileError(path, "No process has opened the pipe for writing within 2 seconds"));
}

TEST_F(XmlFile, APipeIsNotWrittenTo) {
    auto const path = getFolder().getPath() / "pipe.xml";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(writeError(path), fileError(path, "Illegal seek"));
}

TEST_F(XmlFile, ADeviceWithoutAnEndIsRefused) {
    EXPECT_EQ(readError("/dev/zero"),
              fileError("/dev/zero", "The stream does not end within 16777216 bytes"));
}

TEST_F(XmlFile, AFailureAsAResultHasTheTextOfTheExceptionAndIsNotLogged) {
    writeToXmlFile(getFolder() / "chain.xml", Chain());
    writeFile(getFolder() / "broken.xml", "<archive>");
    for (char const* const name : {"chain.xml", "broken.xml", "missing.xml", ""}) {
        std::string const text = readError(getFolder() / name);
        CapturedLog const log(log4cplus::Logger::getRoot());
        Record record;
        EXPECT_THAT(tryReadFromXmlFile(getFolder() / name, record), FailsWith(text));
        EXPECT_TRUE(log.getRecords().empty());
    }
}

TEST_F(XmlFile, ASuccessAsAResultHoldsTheObject) {
    writeToXmlFile(getPath(), *makeNestedRecord());
    auto const pRecord = boost::make_shared<Record>();
    EXPECT_THAT(tryReadFromXmlFile(getPath(), *pRecord), Succeeds());
    expectNestedRecord(pRecord);
    CapturedLog const log(log4cplus::Logger::getRoot());
    readError(getFolder() / "missing.xml");
    EXPECT_EQ(log.getRecords().size(), 1U); // raises are logged again
}

TEST_F(XmlFile, AFolderIsRefusedOnWriting) {
    EXPECT_EQ(writeError(getFolder().getPath()), fileError(getFolder().getPath(), "Is a directory"));
}

TEST_F(XmlFile, AFolderThatIsMissingIsRaisedOnWriting) {
    auto const path = getFolder().getPath() / "none" / "record.xml";
    EXPECT_EQ(writeError(path), fileError(path, "No such file or directory"));
}

TEST_F(XmlFile, AFullDeviceIsRaised) {
    EXPECT_EQ(writeError("/dev/full"), fileError("/dev/full", "No space left on device"));
}

TEST_F(XmlFile, AnObjectOfAnotherClassIsRefusedByItsName) {
    writeToXmlFile(getPath(), Chain());
    EXPECT_EQ(readError(getPath()),
              "An object of class velmo::test::Chain cannot be item object of the archive");
}

TEST_F(XmlFile, WhatIsNoArchiveIsRefused) {
    EXPECT_THAT(readErrorOf(""), testing::StartsWith("The archive is no valid XML: "));
    EXPECT_THAT(readErrorOf("<archive>"), testing::StartsWith("The archive is no valid XML: "));
    EXPECT_EQ(readErrorOf("<other/>"), "The archive is no valid XML: no element archive");
    EXPECT_EQ(readErrorOf("<archive/>"), "The archive has no item object where it is expected");
    EXPECT_EQ(readErrorOf("<archive><section/></archive>"),
              "The archive has no item className where it is expected");
}

TEST_F(XmlFile, AnObjectThatFailsIsRaisedWithItsText) {
    writeFile(getPath(), "earlier");
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { writeToXmlFile(getPath(), Refusing()); }),
              "Failed to write an object of class velmo::test::Refusing to the archive\nnot today");
    EXPECT_EQ(readFile(getPath()), "earlier");
    writeFile(getPath(), "<archive><section><item name=\"className\" value=\"velmo::test::Refusing\"/>"
                         "</section></archive>");
    Refusing refusing;
    std::string const error =
        thrownText<VELMOSerializationException>([&] { readFromXmlFile(getPath(), refusing); });
    EXPECT_EQ(error, "Failed to read an object of class velmo::test::Refusing from the archive\nnot today");
}

} // namespace velmo::test
