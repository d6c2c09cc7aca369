// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"

#include <VELMOSerialization/DynamicRegistrator.h>
#include <boost/pointer_cast.hpp>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace velmo::test {

namespace {

DynamicRegistrator<Record> const g_record;
DynamicRegistrator<Chain> const g_chain;
DynamicRegistrator<Refusing> const g_refusing;
DynamicRegistrator<NoArchiveObject> const g_noArchiveObject;

} // namespace

std::string const& Record::getTypeName() {
    static std::string const name("velmo::test::Record");
    return name;
}

BoolResult Record::write(BaseOArchive& archive) const {
    archive << oItem("number", number) << oItem("count", count) << oItem("size", size)
            << oItem("ratio", ratio) << oItem("text", text);
    archive.writeObject("pChild", pChild);
    return success();
}

BoolResult Record::read(BaseIArchive& archive) {
    archive >> iItem("number", number) >> iItem("count", count) >> iItem("size", size) >>
        iItem("ratio", ratio) >> iItem("text", text);
    pChild = archive.readObject("pChild");
    return success();
}

std::string const& Chain::getTypeName() {
    static std::string const name("velmo::test::Chain");
    return name;
}

BoolResult Chain::write(BaseOArchive& archive) const {
    archive.writeObject("pNext", pNext);
    return success();
}

BoolResult Chain::read(BaseIArchive& archive) {
    pNext = archive.readObject("pNext");
    return success();
}

std::string const& Refusing::getTypeName() {
    static std::string const name("velmo::test::Refusing");
    return name;
}

BoolResult Refusing::write(BaseOArchive& /*archive*/) const {
    return failure("not today");
}

BoolResult Refusing::read(BaseIArchive& /*archive*/) {
    return failure("not today");
}

std::string const& NoArchiveObject::getTypeName() {
    static std::string const name("velmo::test::NoArchiveObject");
    return name;
}

boost::shared_ptr<Record> makeNestedRecord() {
    auto const pInner = boost::make_shared<Record>();
    pInner->text = "inner";
    auto pOuter = boost::make_shared<Record>();
    pOuter->number = -2;
    pOuter->count = 4000000000U;
    pOuter->size = 0x0102030405060708UL;
    pOuter->ratio = -0.1F;
    pOuter->text = "outer";
    pOuter->pChild = pInner;
    return pOuter;
}

void expectNestedRecord(DynamicObjectPtr const& pObject) {
    auto const pOuter = boost::dynamic_pointer_cast<Record>(pObject);
    ASSERT_TRUE(pOuter);
    EXPECT_EQ(pOuter->number, -2);
    EXPECT_EQ(pOuter->count, 4000000000U);
    EXPECT_EQ(pOuter->size, 0x0102030405060708UL);
    EXPECT_EQ(bitsOf(pOuter->ratio), bitsOf(-0.1F));
    EXPECT_EQ(pOuter->text, "outer");
    auto const pInner = boost::dynamic_pointer_cast<Record>(pOuter->pChild);
    ASSERT_TRUE(pInner);
    EXPECT_EQ(pInner->number, 0);
    EXPECT_EQ(pInner->text, "inner");
    EXPECT_FALSE(pInner->pChild);
}

std::vector<float> getHardFloats() {
    using Limits = std::numeric_limits<float>;
    return {0.0F,
            -0.0F,
            1.0F,
            -1.0F,
            0.1F,
            1.0F / 3.0F,
            16777217.0F,
            Limits::max(),
            Limits::lowest(),
            Limits::min(),
            Limits::denorm_min(),
            -Limits::denorm_min(),
            Limits::epsilon(),
            Limits::infinity(),
            -Limits::infinity(),
            floatOf(0x7FC00000U),  // the NaN of the processor
            floatOf(0xFFC00000U)}; // the same, negative
}

unsigned int bitsOf(float value) {
    unsigned int bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

float floatOf(unsigned int bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

} // namespace velmo::test
