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
    static std::string readError(boost::filesystem::path const& path) {
        Record record;
        return thrownText<VELMOSerializationException>([&] { readFromXmlFile(path, record); });
    }
    std::string readErrorOf(std::string const& text) const {
        writeFile(_path, text);
        return readError(_path);
    }
    static std::string writeError(boost::filesystem::path const& path) {
        return thrownText<VELMOSerializationException>([&] { writeToXmlFile(path, Record()); });
    }

    TemporaryFolder const _folder;
    boost::filesystem::path const _path = _folder / "record.xml";
    boost::shared_ptr<Record> const _pRecord = boost::make_shared<Record>();
};

std::string fileError(boost::filesystem::path const& path, std::string const& reason) {
    return "Failed to reach the archive file \"" + path.string() + "\"\n" + reason;
}

} // namespace

TEST_F(XmlFile, AnObjectReadsBackWithTheObjectsThatItHolds) {
    writeToXmlFile(_path, *makeNestedRecord());
    readFromXmlFile(_path, *_pRecord);
    expectNestedRecord(_pRecord);
    EXPECT_THAT(tryReadFromXmlFile(_path, *_pRecord), Succeeds());
    expectNestedRecord(_pRecord);
}

TEST_F(XmlFile, HoldsTheObjectAsASectionWithItsClassAndIsReplacedWhole) {
    writeFile(_path, std::string(100000, 'x'));
    writeToXmlFile(_path, Chain());
    EXPECT_EQ(readFile(_path), "<?xml version=\"1.0\"?>\n"
                               "<archive>\n"
                               "\t<section name=\"object\">\n"
                               "\t\t<item name=\"className\" value=\"velmo::test::Chain\" />\n"
                               "\t\t<section name=\"pNext\">\n"
                               "\t\t\t<item name=\"className\" value=\"\" />\n"
                               "\t\t</section>\n"
                               "\t</section>\n"
                               "</archive>\n");
}

TEST_F(XmlFile, AnObjectIsReadFromAPipeAndNotWrittenToIt) {
    auto const path = _folder / "pipe.xml";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(writeError(path), fileError(path, "Illegal seek"));
    writeToXmlFile(_path, *makeNestedRecord());
    int const held = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); // keeps what is written
    writeFile(path, readFile(_path));
    readFromXmlFile(path, *_pRecord);
    close(held);
    expectNestedRecord(_pRecord);
}

TEST_F(XmlFile, WhatCannotBeReadIsRaisedWithItsPathAndTheReason) {
    EXPECT_EQ(readError(_path), fileError(_path, "No such file or directory"));
    EXPECT_FALSE(boost::filesystem::exists(_path));
    EXPECT_EQ(readError(_folder.getPath()), fileError(_folder.getPath(), "Is a directory"));
    EXPECT_EQ(readError("/dev/zero"),
              fileError("/dev/zero", "The stream does not end within 16777216 bytes"));
}

TEST_F(XmlFile, WhatCannotBeWrittenIsRaisedWithItsPathAndTheReason) {
    auto const missing = _folder / "none" / "record.xml";
    EXPECT_EQ(writeError(_folder.getPath()), fileError(_folder.getPath(), "Is a directory"));
    EXPECT_EQ(writeError(missing), fileError(missing, "No such file or directory"));
    EXPECT_EQ(writeError("/dev/full"), fileError("/dev/full", "No space left on device"));
}

TEST_F(XmlFile, WhatIsNoArchiveOrHoldsAnotherClassIsRefused) {
    EXPECT_THAT(readErrorOf("<archive>"), testing::StartsWith("The archive is no valid XML: "));
    EXPECT_EQ(readErrorOf("<archive/>"), "The archive has no item object where it is expected");
    EXPECT_EQ(readErrorOf("<archive><section/></archive>"),
              "The archive has no item className where it is expected");
    writeToXmlFile(_path, Chain());
    EXPECT_EQ(readError(_path), "An object of class velmo::test::Chain cannot be item object of the archive");
}

TEST_F(XmlFile, AFailureAsAResultHasTheTextOfTheExceptionAndIsNotLogged) {
    writeToXmlFile(_folder / "chain.xml", Chain());
    writeFile(_folder / "broken.xml", "<archive>");
    for (char const* const name : {"chain.xml", "broken.xml", "missing.xml", ""}) {
        CapturedLog const log(log4cplus::Logger::getRoot());
        std::string const text = readError(_folder / name);
        EXPECT_EQ(log.getRecords().size(), 1U);
        EXPECT_THAT(tryReadFromXmlFile(_folder / name, *_pRecord), FailsWith(text));
        EXPECT_EQ(log.getRecords().size(), 1U);
    }
}

TEST_F(XmlFile, AnObjectThatFailsIsRaisedWithItsText) {
    writeFile(_path, "earlier");
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { writeToXmlFile(_path, Refusing()); }),
              "Failed to write an object of class velmo::test::Refusing to the archive\nnot today");
    EXPECT_EQ(readFile(_path), "earlier");
    writeFile(_path, "<archive><section><item name=\"className\" value=\"velmo::test::Refusing\"/>"
                     "</section></archive>");
    Refusing refusing;
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { readFromXmlFile(_path, refusing); }),
              "Failed to read an object of class velmo::test::Refusing from the archive\nnot today");
}

} // namespace velmo::test
