// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Processes.h"
#include "SampleObjects.h"
#include "ThrownText.h"

#include <VELMOSerialization/DynamicRegistrator.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <atomic>
#include <boost/pointer_cast.hpp>
#include <gtest/gtest.h>
#include <memory>

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

} // namespace velmo::test
