// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <gtest/gtest.h>
#include <sstream>

namespace velmo::test {

namespace {

using namespace std::string_literals;

std::string const g_class("velmo::test::Versioned");

} // namespace

TEST(ClassVersion, IsRegisteredForTheSameArchiveOnly) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    BinaryOArchive other(stream);
    EXPECT_FALSE(archive.isClassVersionRegistred(g_class));
    EXPECT_EQ(archive.getRegisterClassVersion(g_class), 0U);
    archive.registerClassVersion(g_class, 3);
    EXPECT_TRUE(archive.isClassVersionRegistred(g_class));
    EXPECT_EQ(archive.getRegisterClassVersion(g_class), 3U);
    EXPECT_FALSE(archive.isClassVersionRegistred("velmo::test::Other"));
    EXPECT_FALSE(other.isClassVersionRegistred(g_class));
    EXPECT_EQ(other.getRegisterClassVersion(g_class), 0U);
}

TEST(ClassVersion, IsStoredOnceInEachArchive) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    writeClassVersion(archive, g_class, 3);
    writeClassVersion(archive, g_class, 3);
    EXPECT_EQ(stream.str(), "\x03\x00\x00\x00"s);
    writeClassVersion(archive, "velmo::test::Other", 1);
    EXPECT_EQ(stream.str(), "\x03\x00\x00\x00\x01\x00\x00\x00"s);
    BinaryOArchive next(stream);
    writeClassVersion(next, g_class, 3);
    EXPECT_EQ(stream.str().size(), 12U);
}

TEST(ClassVersion, ASecondObjectReadsTheVersionOfTheFirst) {
    std::istringstream stream("\x02\x00\x00\x00\x63\x00\x00\x00"s);
    BinaryIArchive archive(stream);
    EXPECT_EQ(readClassVersion(archive, g_class, 3, VELMO_HERE), 2U);
    EXPECT_EQ(stream.tellg(), 4);
    EXPECT_TRUE(archive.isClassVersionRegistred(g_class));
    EXPECT_EQ(readClassVersion(archive, g_class, 3, VELMO_HERE), 2U);
    EXPECT_EQ(stream.tellg(), 4);
}

TEST(ClassVersion, UpToTheCurrentOneItIsReadAndANewerOneIsRaisedAtTheSiteOfTheCaller) {
    RaiseSite const site = {"void Versioned::read()", "Versioned.cpp", 12};
    for (char const version : {'\0', '\1', '\3', '\4'}) {
        std::istringstream stream(version + "\0\0\0"s);
        BinaryIArchive archive(stream);
        try {
            EXPECT_EQ(readClassVersion(archive, g_class, 3, site), static_cast<unsigned int>(version));
            EXPECT_LE(version, 3);
        } catch (VELMOSerializationException const& exception) {
            EXPECT_STREQ(exception.what(), "Version 4 of class velmo::test::Versioned in the archive is "
                                           "newer than the known version 3");
            EXPECT_EQ(exception.getFunction(), site.function);
            EXPECT_EQ(exception.getFile(), site.file);
            EXPECT_EQ(exception.getLine(), site.line);
            EXPECT_EQ(version, 4);
        }
        EXPECT_EQ(archive.isClassVersionRegistred(g_class), version != 4);
    }
    LogMessageFormater formater(getVELMOSerializationLogMessageManager());
    EXPECT_NO_THROW(formater.setMsgId("N5velmo26eVELMOSerializationMessage6domainE", 25));
    std::istringstream stream("\x01\x00\x00"s); // ends inside of it
    BinaryIArchive archive(stream);
    EXPECT_THROW(readClassVersion(archive, g_class, 3, site), VELMOSerializationException);
    EXPECT_FALSE(archive.isClassVersionRegistred(g_class));
}

} // namespace velmo::test
