// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SampleObjects.h"
#include "ThrownText.h"
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <streambuf>
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

namespace {

using testing::HasSubstr;

/// The length of a string as the archive holds it.
std::string lengthBytes(vlUInt64 length) {
    std::ostringstream stream;
    BinaryOArchive(stream).writeItem("length", length);
    return stream.str();
}

std::string stringBytes(std::string const& text) {
    return lengthBytes(text.size()) + text;
}

std::string readObjectError(std::string const& bytes) {
    std::istringstream stream(bytes);
    BinaryIArchive archive(stream);
    return thrownText<VELMOSerializationException>([&] { archive.readObject("p"); });
}

std::string writeObjectError(DynamicObjectPtr const& pObject) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    return thrownText<VELMOSerializationException>([&] { archive.writeObject("p", pObject); });
}

/// Bytes from memory that can be read but not sought, as those of a pipe.
class PipeBuffer : public std::streambuf {
  public:
    explicit PipeBuffer(std::string bytes) : _bytes(std::move(bytes)) {
        setg(_bytes.data(), _bytes.data(), _bytes.data() + _bytes.size());
    }

  private:
    std::string _bytes;
};

/// A device that has no room, without a buffer before it.
class FullDevice {
  public:
    FullDevice() {
        _stream.rdbuf()->pubsetbuf(nullptr, 0);
        _stream.open("/dev/full");
        EXPECT_TRUE(_stream.good());
    }
    std::ostream& getStream() { return _stream; }

  private:
    std::ofstream _stream;
};

template <class T>
void expectTooShort(std::size_t nbBytes) {
    for (std::size_t size = 0; size < nbBytes; ++size) {
        std::istringstream stream(std::string(size, '\x01'));
        BinaryIArchive archive(stream);
        T value{};
        EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive >> iItem("the item", value); }),
                  "The archive ends inside of item the item: " + std::to_string(nbBytes) +
                      " bytes are needed and " + std::to_string(size) + " are left");
        EXPECT_EQ(value, T{});
    }
}

template <class T>
void expectWriteFails(T const& value) {
    FullDevice device;
    BinaryOArchive archive(device.getStream());
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive << oItem("the item", value); }),
              "The stream of the archive failed at item the item");
}

} // namespace

TEST(BinaryArchiveDamage, ANumberThatEndsTooEarlyIsRefusedWithWhatIsNeededAndLeft) {
    expectTooShort<int>(4);
    expectTooShort<unsigned int>(4);
    expectTooShort<float>(4);
    expectTooShort<unsigned long>(8);
}

TEST(BinaryArchiveDamage, ARecordCutAtAnyByteIsRefused) {
    std::ostringstream stream;
    BinaryOArchive(stream).writeObject("p", makeNestedRecord());
    std::string const bytes = stream.str();
    ASSERT_GT(bytes.size(), 100U);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_THAT(readObjectError(bytes.substr(0, size)), HasSubstr("The archive ends inside of item"))
            << size;
    }
}

TEST(BinaryArchiveDamage, AnyByteOfARecordChangedNeverDoesWorseThanAnError) {
    std::ostringstream stream;
    BinaryOArchive(stream).writeObject("p", makeNestedRecord());
    std::string const bytes = stream.str();
    int nbRefused = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (char const flip : {'\x01', '\x80', '\xFF'}) {
            std::string damaged = bytes;
            damaged[i] = static_cast<char>(damaged[i] ^ flip);
            std::istringstream input(damaged);
            try {
                BinaryIArchive(input).readObject("p");
            } catch (VELMOSerializationException const&) {
                ++nbRefused;
            }
        }
    }
    EXPECT_GT(nbRefused, 100); // class names and lengths; a changed number is a number too
}

TEST(BinaryArchiveDamage, ALengthBeyondTheEndIsRefusedBeforeAnythingIsAllocated) {
    for (vlUInt64 const length : {vlUInt64{4}, vlUInt64{1} << 31, vlUInt64{1} << 40, vlUInt64{1} << 63,
                                  NumericLimits<vlUInt64>::s_max - 8, NumericLimits<vlUInt64>::s_max}) {
        std::istringstream stream(std::string(100, 'x') + lengthBytes(length) + "abc");
        stream.seekg(100); // what stands before counts for nothing
        BinaryIArchive archive(stream);
        std::string text("as before");
        EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive >> iItem("text", text); }),
                  "The archive ends inside of item text: " + std::to_string(length) +
                      " bytes are needed and 3 are left");
        EXPECT_EQ(text, "as before");
    }
}

TEST(BinaryArchiveDamage, AnObjectThatFailsOrThatNoArchiveHoldsIsRaisedWithItsText) {
    EXPECT_EQ(readObjectError(stringBytes(Refusing::getTypeName())),
              "Failed to read an object of class velmo::test::Refusing from the archive\nnot today");
    EXPECT_EQ(readObjectError(stringBytes(NoArchiveObject::getTypeName())),
              "The archive holds an object of the unknown class velmo::test::NoArchiveObject");
    EXPECT_EQ(writeObjectError(Refusing::createSharedObject()),
              "Failed to write an object of class velmo::test::Refusing to the archive\nnot today");
    EXPECT_EQ(writeObjectError(NoArchiveObject::createSharedObject()),
              "Failed to write an object of class velmo::test::NoArchiveObject to the archive\n"
              "not an object of an archive");
}

TEST(BinaryArchiveDamage, ObjectsNestedTooDeepAreRefused) {
    std::string const text = "Section pNext of the archive is nested deeper than 64 levels";
    for (int const nbObjects : {64, 100000}) {
        std::string bytes;
        for (int i = 0; i < nbObjects; ++i) {
            bytes += stringBytes(Chain::getTypeName());
        }
        EXPECT_EQ(readObjectError(bytes + lengthBytes(0)), text);
    }
    auto const pChain = boost::make_shared<Chain>();
    pChain->pNext = pChain; // never ends
    EXPECT_EQ(writeObjectError(pChain), text);
    pChain->pNext.reset();
}

TEST(BinaryArchiveDamage, AnErrorClosesItsSections) {
    std::string bytes;
    for (int i = 0; i < 64; ++i) {
        bytes += stringBytes(Chain::getTypeName());
    }
    std::istringstream stream(bytes + lengthBytes(0) + stringBytes(Chain::getTypeName()) + lengthBytes(0));
    BinaryIArchive archive(stream);
    EXPECT_THROW(archive.readObject("p"), VELMOSerializationException);
    EXPECT_FALSE(archive.readObject("p")); // the null pointer where the error occurred
    EXPECT_TRUE(archive.readObject("p"));
}

TEST(BinaryArchiveDamage, AStreamThatCannotSeekOrHasFailedAlreadyIsRefused) {
    PipeBuffer buffer(std::string(100, '\0'));
    std::istream stream(&buffer);
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { BinaryIArchive archive(stream); }),
              "An archive is read from a stream that can seek only");
    std::ifstream failed("/nowhere/at/all");
    EXPECT_THROW(BinaryIArchive{failed}, VELMOSerializationException);
}

TEST(BinaryArchiveDamage, AStreamThatFailsOnWritingIsRaisedWithTheItem) {
    expectWriteFails(1);
    expectWriteFails(1U);
    expectWriteFails(1UL);
    expectWriteFails(1.0F);
    expectWriteFails("text"s);
    FullDevice device;
    BinaryOArchive archive(device.getStream());
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { archive.writeObject("p", makeNestedRecord()); }),
              "The stream of the archive failed at item className");
}

} // namespace velmo::test
