// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"
#include "SampleObjects.h"
#include "ThrownText.h"
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOSerialization/DynamicRegistrator.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <atomic>
#include <boost/pointer_cast.hpp>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>

namespace velmo::test {

namespace {

DynamicObjectFactory& getFactory() {
    return DynamicObjectFactory::getInstance();
}

/// A class that is registered by the tests themselves.
class Passing : public CopyableObject<Passing, BaseDynamicObject> {
  public:
    static std::string const& getTypeName() {
        static std::string const name("velmo::test::Passing");
        return name;
    }
};

} // namespace

TEST(DynamicObjectFactory, AnUnknownClassIsNull) {
    EXPECT_FALSE(getFactory().isClassRegistred("velmo::NoClass"));
    EXPECT_EQ(getFactory().createNew("velmo::NoClass"), nullptr);
    EXPECT_FALSE(getFactory().createShared("velmo::NoClass"));
    EXPECT_EQ(getFactory().createNew(""), nullptr);
}

TEST(DynamicObjectFactory, ASecondRegistrationReplacesTheFirst) {
    getFactory().registerClass("velmo::test::Name", Record::createNewObject, Record::createSharedObject);
    getFactory().registerClass("velmo::test::Name", Chain::createNewObject, Chain::createSharedObject);
    EXPECT_TRUE(boost::dynamic_pointer_cast<Chain>(getFactory().createShared("velmo::test::Name")));
    getFactory().unRegisterClass("velmo::test::Name");
    EXPECT_FALSE(getFactory().createShared("velmo::test::Name"));
    EXPECT_NO_THROW(getFactory().unRegisterClass("velmo::test::Name"));
}

TEST(DynamicObjectFactory, ThreadsRegisterAndMakeAtOnce) {
    std::atomic<int> nbMade{0};
    onThreads(8, [&](unsigned int thread) {
        std::string const name = "velmo::test::Thread" + std::to_string(thread);
        for (int i = 0; i < 100; ++i) {
            getFactory().registerClass(name, Record::createNewObject, Record::createSharedObject);
            nbMade += getFactory().createShared(name) && getFactory().createShared("velmo::test::Chain");
            getFactory().unRegisterClass(name);
        }
    });
    EXPECT_EQ(nbMade, 800);
}

TEST(DynamicRegistrator, RegistersForAsLongAsItLives) {
    EXPECT_FALSE(getFactory().isClassRegistred(Passing::getTypeName()));
    {
        DynamicRegistrator<Passing> const registrator;
        EXPECT_TRUE(getFactory().isClassRegistred(Passing::getTypeName()));
        EXPECT_TRUE(boost::dynamic_pointer_cast<Passing>(getFactory().createShared("velmo::test::Passing")));
        EXPECT_NE(getFactory().createShared("velmo::test::Passing"),
                  getFactory().createShared("velmo::test::Passing"));
        std::unique_ptr<BaseDynamicObject> const pNew(getFactory().createNew("velmo::test::Passing"));
        EXPECT_NE(dynamic_cast<Passing*>(pNew.get()), nullptr);
    }
    EXPECT_FALSE(getFactory().isClassRegistred(Passing::getTypeName()));
    EXPECT_FALSE(getFactory().createShared(Passing::getTypeName()));
}

TEST(CopyableObject, KnowsItsClassAndMakesNewOnesAndDuplicatesOfItsValues) {
    auto const pRecord = makeNestedRecord();
    EXPECT_EQ(pRecord->getClassName(), "velmo::test::Record");
    EXPECT_TRUE(pRecord->hasCopySupport());
    for (DynamicObjectPtr const& pNew : {DynamicObjectPtr(pRecord->createNew()), pRecord->createShared()}) {
        ASSERT_TRUE(boost::dynamic_pointer_cast<Record>(pNew));
        EXPECT_EQ(dynamic_cast<Record&>(*pNew).text, "");
    }
    for (DynamicObjectPtr const& pCopy :
         {DynamicObjectPtr(pRecord->duplicate()), pRecord->duplicateShared()}) {
        EXPECT_NE(pCopy.get(), pRecord.get());
        expectNestedRecord(pCopy);
    }
}

TEST(CopyableObject, CopiesFromAnObjectOfItsClassAlone) {
    auto const pTarget = boost::make_shared<Record>();
    pTarget->copy(*makeNestedRecord());
    expectNestedRecord(pTarget);
    pTarget->copy(*pTarget);
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { pTarget->copy(Chain()); }),
              "An object of class velmo::test::Record cannot be a copy of a velmo::test::Chain");
    expectNestedRecord(pTarget);
}

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
