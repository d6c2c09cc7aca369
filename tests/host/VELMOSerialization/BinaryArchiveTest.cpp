// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string_view>

namespace velmo::test {

namespace {

using namespace std::string_literals;

/// The bytes of one item.
template <class T>
std::string toBytes(T const& value) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive << oItem("item", value);
    return stream.str();
}

template <class T>
T fromBytes(std::string const& bytes) {
    std::istringstream stream(bytes);
    BinaryIArchive archive(stream);
    T value{};
    archive >> iItem("item", value);
    EXPECT_EQ(static_cast<std::size_t>(stream.tellg()), bytes.size());
    return value;
}

template <class T>
void expectBytes(T const& value, std::string const& bytes) {
    EXPECT_EQ(toBytes(value), bytes) << value;
    EXPECT_EQ(fromBytes<T>(bytes), value);
}

} // namespace

TEST(BinaryArchive, NumbersAreTheirBytesInLittleEndianOrder) {
    expectBytes(0x01020304, "\x04\x03\x02\x01"s);
    expectBytes(-2, "\xFE\xFF\xFF\xFF"s);
    expectBytes(NumericLimits<int>::s_min, "\x00\x00\x00\x80"s);
    expectBytes(0x81020304U, "\x04\x03\x02\x81"s);
    expectBytes(NumericLimits<unsigned int>::s_max, "\xFF\xFF\xFF\xFF"s);
    expectBytes(0x8102030405060708UL, "\x08\x07\x06\x05\x04\x03\x02\x81"s);
    expectBytes(1.0F, "\x00\x00\x80\x3F"s);
    expectBytes(-0.5F, "\x00\x00\x00\xBF"s);
    EXPECT_EQ(toBytes(floatOf(0x7F812345U)), "\x45\x23\x81\x7F"s); // a signalling NaN with a payload
    EXPECT_EQ(bitsOf(fromBytes<float>(toBytes(floatOf(0xFFABCDEFU)))), 0xFFABCDEFU);
}

TEST(BinaryArchive, AStringIsItsLengthInEightBytesAndItsBytes) {
    expectBytes(""s, "\x00\x00\x00\x00\x00\x00\x00\x00"s);
    expectBytes("abc"s, "\x03\x00\x00\x00\x00\x00\x00\x00"s + "abc");
    expectBytes("a\0\n\xFF"s, "\x04\x00\x00\x00\x00\x00\x00\x00"s + "a\0\n\xFF"s);
    expectBytes(std::string(258, 'x'), "\x02\x01\x00\x00\x00\x00\x00\x00"s + std::string(258, 'x'));
}

TEST(BinaryArchive, AnObjectIsItsClassNameAndWhatItWrites) {
    std::ostringstream stream;
    BinaryOArchive(stream).writeObject("p", makeNestedRecord());
    std::string const className = "\x13\x00\x00\x00\x00\x00\x00\x00"s + "velmo::test::Record";
    std::string const outer = "\xFE\xFF\xFF\xFF"s + "\x00\x28\x6B\xEE"s +
                              "\x08\x07\x06\x05\x04\x03\x02\x01"s + "\xCD\xCC\xCC\xBD"s +
                              "\x05\x00\x00\x00\x00\x00\x00\x00"s + "outer";
    std::string const inner =
        std::string(20, '\0') + "\x05\x00\x00\x00\x00\x00\x00\x00"s + "inner" + std::string(8, '\0');
    EXPECT_EQ(stream.str(), className + outer + className + inner);
    std::ostringstream null;
    BinaryOArchive archive(null);
    ArchiveSectionManager const section(archive, "section"); // leaves no trace
    archive.writeObject("p", DynamicObjectPtr());
    EXPECT_EQ(null.str(), std::string(8, '\0'));
}

TEST(BinaryArchive, TheStreamStandsBehindWhatWasRead) {
    std::stringstream stream;
    stream << "head";
    BinaryOArchive output(stream);
    output << oItem("text", "abc"s);
    output.writeObject("p", makeNestedRecord());
    stream << "tail";
    stream.seekg(4);
    {
        BinaryIArchive input(stream);
        std::string text;
        input >> iItem("text", text);
        EXPECT_EQ(text, "abc");
        expectNestedRecord(input.readObject("p"));
    }
    std::string tail;
    stream >> tail;
    EXPECT_EQ(tail, "tail");
}

TEST(BinaryArchive, ObjectsNestUpToSixtyFourLevels) {
    DynamicObjectPtr pChain; // 63 objects and the null pointer of the last
    for (int i = 0; i < 63; ++i) {
        auto const pLink = boost::make_shared<Chain>();
        pLink->pNext = pChain;
        pChain = pLink;
    }
    std::stringstream stream;
    BinaryOArchive(stream).writeObject("p", pChain);
    DynamicObjectPtr pRead = BinaryIArchive(stream).readObject("p");
    int nbObjects = 0;
    for (; pRead; pRead = dynamic_cast<Chain&>(*pRead).pNext) {
        ++nbObjects;
    }
    EXPECT_EQ(nbObjects, 63);
}

} // namespace velmo::test
