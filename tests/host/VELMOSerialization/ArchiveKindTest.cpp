// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "SampleObjects.h"
#include "ThrownText.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <sstream>

namespace velmo::test {

namespace {

struct Binary {
    using OArchive = BinaryOArchive;
    using IArchive = BinaryIArchive;
    static constexpr bool isTextual = false;
};

struct Xml {
    using OArchive = XmlOArchive;
    using IArchive = XmlIArchive;
    static constexpr bool isTextual = true;
};

/// What both kinds of archive have in common, where they may differ.
template <class Kind>
class ArchiveOfEachKind : public testing::Test {
  protected:
    static std::string write(DynamicObjectPtr const& pObject) {
        std::ostringstream stream;
        {
            typename Kind::OArchive archive(stream);
            archive.writeObject("object", pObject);
        }
        return stream.str();
    }

    template <class Object>
    static boost::shared_ptr<Object> readAs(std::string const& bytes) {
        std::istringstream stream(bytes);
        typename Kind::IArchive archive(stream);
        return readObjectOf<Object>(archive, "object");
    }
};

struct KindNames {
    template <class Kind>
    static std::string GetName(int /*index*/) {
        return Kind::isTextual ? "Xml" : "Binary";
    }
};

using Kinds = testing::Types<Binary, Xml>;
TYPED_TEST_SUITE(ArchiveOfEachKind, Kinds, KindNames);

} // namespace

TYPED_TEST(ArchiveOfEachKind, SaysInBothDirectionsWhetherItIsText) {
    std::stringstream stream;
    {
        typename TypeParam::OArchive const archive(stream);
        EXPECT_EQ(archive.isTextual(), TypeParam::isTextual);
    }
    typename TypeParam::IArchive const archive(stream);
    EXPECT_EQ(archive.isTextual(), TypeParam::isTextual);
}

TYPED_TEST(ArchiveOfEachKind, AnObjectIsReadAsItsOwnClassAndAsEachOfItsBases) {
    std::string const bytes = TestFixture::write(makeNestedRecord());
    expectNestedRecord(this->template readAs<Record>(bytes));
    expectNestedRecord(this->template readAs<BaseSerializationObject>(bytes));
    expectNestedRecord(this->template readAs<BaseDynamicObject>(bytes));
}

TYPED_TEST(ArchiveOfEachKind, ANullPointerIsReadAsAnyClass) {
    std::string const bytes = TestFixture::write(DynamicObjectPtr());
    EXPECT_FALSE(this->template readAs<Record>(bytes));
    EXPECT_FALSE(this->template readAs<Chain>(bytes));
}

TYPED_TEST(ArchiveOfEachKind, AnObjectOfAnotherClassIsLoggedAndThrownWithBothNames) {
    std::string const bytes = TestFixture::write(boost::make_shared<Chain>());
    CapturedLog const log(getVELMOSerializationLogger());
    std::string const text =
        thrownText<VELMOSerializationException>([&] { this->template readAs<Record>(bytes); });
    EXPECT_EQ(text, "An object of class velmo::test::Chain cannot be item object of the archive");
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].message, text);
}

TYPED_TEST(ArchiveOfEachKind, AnArchiveThatEndsBeforeTheObjectIsThrown) {
    EXPECT_THROW(this->template readAs<Record>(std::string()), VELMOSerializationException);
}

} // namespace velmo::test
