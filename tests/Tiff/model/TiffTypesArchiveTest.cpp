// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"

#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>
#include <sstream>
#include <vector>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;
using velmo::test::thrownText;

template <class Enumeration>
struct Named {
    Enumeration value;
    std::string name;
};

std::vector<Named<eTiffDirectoryMode>> namesOf(eTiffDirectoryMode) {
    return {{eTDM_Volume, "eTDM_Volume"}, {eTDM_Temporal, "eTDM_Temporal"}};
}

std::vector<Named<eTiffBufferMode>> namesOf(eTiffBufferMode) {
    return {{eTBM_Default, "eTBM_Default"}, {eTBM_Binary, "eTBM_Binary"}, {eTBM_Label, "eTBM_Label"}};
}

template <class Value>
std::string writeBinary(Value const& value) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    static_cast<BaseOArchive&>(archive) << oItem("mode", value);
    return stream.str();
}

template <class Value>
std::string writeText(Value const& value) {
    std::ostringstream stream;
    XmlOArchive archive(stream);
    static_cast<BaseOArchive&>(archive) << oItem("mode", value);
    archive.finish();
    return stream.str();
}

template <class Archive, class Value>
Value readAs(std::string const& bytes, Value value) {
    std::istringstream stream(bytes);
    Archive archive(stream);
    static_cast<BaseIArchive&>(archive) >> iItem("mode", value);
    return value;
}

/// What is thrown for a record, which the serialization library logs as well.
template <class Archive, class Enumeration>
std::string refusalOf(std::string const& bytes) {
    CapturedLog const log(getVELMOSerializationLogger());
    std::string const text =
        thrownText<VELMOSerializationException>([&] { readAs<Archive>(bytes, Enumeration()); });
    auto const records = log.getRecords();
    EXPECT_EQ(records.size(), 1U);
    EXPECT_EQ(records.empty() ? 0 : records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records.empty() ? std::string() : records[0].message, text);
    return text;
}

template <class Enumeration>
class TiffTypesArchive : public testing::Test {};

using Enumerations = testing::Types<eTiffDirectoryMode, eTiffBufferMode>;
TYPED_TEST_SUITE(TiffTypesArchive, Enumerations, );

} // namespace

TYPED_TEST(TiffTypesArchive, ATextHoldsTheNameUnderTheItemsName) {
    for (auto const& [value, name] : namesOf(TypeParam())) {
        EXPECT_NE(writeText(value).find("<item name=\"mode\" value=\"" + name + "\""), std::string::npos);
        EXPECT_EQ(writeText(value), writeText(name));
    }
}

TYPED_TEST(TiffTypesArchive, ABinaryArchiveHoldsAnIntOf32Bits) {
    for (auto const& [value, name] : namesOf(TypeParam())) {
        EXPECT_EQ(writeBinary(value), writeBinary(static_cast<int>(value))) << name;
        EXPECT_EQ(writeBinary(value).size(), 4U);
    }
}

TYPED_TEST(TiffTypesArchive, EveryEnumeratorIsReadBackFromBothForms) {
    auto const names = namesOf(TypeParam());
    for (auto const& [value, name] : names) {
        TypeParam const other = value == names.front().value ? names.back().value : names.front().value;
        EXPECT_EQ(readAs<XmlIArchive>(writeText(value), other), value) << name;
        EXPECT_EQ(readAs<BinaryIArchive>(writeBinary(value), other), value) << name;
    }
}

TYPED_TEST(TiffTypesArchive, AValueOutsideOfTheEnumerationIsWrittenInBinaryAsZero) {
    vlUInt64 const outside[] = {namesOf(TypeParam()).size(), 255, vlUInt64(1) << 32U, ~vlUInt64(0)};
    for (vlUInt64 const value : outside) {
        EXPECT_EQ(writeBinary(static_cast<TypeParam>(value)), std::string(4, '\0')) << value;
    }
}

TYPED_TEST(TiffTypesArchive, AnUnknownTextIsLoggedAndThrownWithTheText) {
    for (std::string const text : {"", "eTDM_volume", "eTBM_Label ", "eTC_None", "0"}) {
        EXPECT_EQ((refusalOf<XmlIArchive, TypeParam>(writeText(text))),
                  "The archive holds the unknown enumerator " + text);
    }
}

TYPED_TEST(TiffTypesArchive, ANumberOutsideOfTheEnumerationIsLoggedAndThrownWithTheNumber) {
    for (int const number : {static_cast<int>(namesOf(TypeParam()).size()), -1, 256, 2147483647}) {
        EXPECT_EQ((refusalOf<BinaryIArchive, TypeParam>(writeBinary(number))),
                  "The archive holds the unknown enumeration value " + std::to_string(number));
    }
}

TYPED_TEST(TiffTypesArchive, ARefusedRecordLeavesTheValueAlone) {
    TypeParam const before = namesOf(TypeParam()).back().value;
    TypeParam value = before;
    std::istringstream stream(writeBinary(77));
    BinaryIArchive archive(stream);
    EXPECT_THROW(static_cast<BaseIArchive&>(archive) >> iItem("mode", value), VELMOSerializationException);
    EXPECT_EQ(value, before);
}

} // namespace velmo::image::file
