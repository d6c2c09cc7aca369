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

/// The value that comes back from an archive.
template <class Kind, class T>
T roundTrip(T const& value) {
    std::stringstream stream;
    {
        typename Kind::OArchive archive(stream);
        archive << oItem("item", value);
    }
    typename Kind::IArchive archive(stream);
    T result{};
    archive >> iItem("item", result);
    return result;
}

} // namespace

TYPED_TEST(ArchiveOfEachKind, NumbersAndStringsReadBackToTheirLastBit) {
    using namespace std::string_literals;
    for (int const value : {NumericLimits<int>::s_min, -1, 0, 1, NumericLimits<int>::s_max}) {
        EXPECT_EQ(roundTrip<TypeParam>(value), value);
    }
    for (unsigned int const value : {0U, 1U, NumericLimits<unsigned int>::s_max}) {
        EXPECT_EQ(roundTrip<TypeParam>(value), value);
    }
    for (unsigned long const value : {0UL, 1UL, NumericLimits<unsigned long>::s_max}) {
        EXPECT_EQ(roundTrip<TypeParam>(value), value);
    }
    for (float const value : getHardFloats()) {
        EXPECT_EQ(bitsOf(roundTrip<TypeParam>(value)), bitsOf(value)) << value;
    }
    for (std::string const& text :
         {""s, " "s, "  between blanks  "s, "<item name=\"x\"/>"s, "a & b &amp; c"s, "'single' \"double\""s,
          "line\nline"s, "line\r\nline\r"s, "\ttab\t"s, "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x94\xAC"s, "]]>"s,
          "100% %s"s, "\x01\x1F"s}) {
        EXPECT_EQ(roundTrip<TypeParam>(text), text);
    }
}

TYPED_TEST(ArchiveOfEachKind, AnUnknownClassIsRefusedByItsName) {
    std::string bytes = TestFixture::write(boost::make_shared<Chain>());
    bytes.replace(bytes.find("velmo::test::Chain"), 18, "velmo::test::Never");
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { this->template readAs<Chain>(bytes); }),
              "The archive holds an object of the unknown class velmo::test::Never");
}

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
