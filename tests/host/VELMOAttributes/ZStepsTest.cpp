// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOAttributes/ZSteps.h"

#include "ArchiveRecords.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"
#include "VELMOImage/GeometricCalibration.h"
#include "VELMOSerialization/XmlFile.h"
#include "VELMOUtil/VELMOUtilLog.h"

#include <boost/pointer_cast.hpp>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>

namespace velmo::test {

namespace {

using image::GeometricCalibration;
using imaproc::attr::ZSteps;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ZSteps makeSteps(std::vector<float> const& values) {
    ZSteps steps;
    steps.accessSteps() = values;
    return steps;
}

std::vector<unsigned int> toBits(std::vector<float> const& values) {
    std::vector<unsigned int> bits(values.size());
    std::memcpy(bits.data(), values.data(), values.size() * sizeof(float));
    return bits;
}

/// Values whose decimal forms are long, at the ends of the type, or no numbers.
std::vector<float> makeHardValues() {
    using Limits = std::numeric_limits<float>;
    return {0.1F,
            1.0F / 3,
            -0.0F,
            0.0F,
            -2.5F,
            Limits::max(),
            Limits::lowest(),
            Limits::min(),
            Limits::denorm_min(),
            Limits::infinity(),
            -Limits::infinity()};
}

} // namespace

TEST(ZSteps, AreEmptyAtFirst) {
    EXPECT_THAT(ZSteps().getSteps(), IsEmpty());
}

TEST(ZSteps, KeepTheirBitsInBinaryAndXmlArchives) {
    ZSteps const written = makeSteps(makeHardValues());
    ZSteps fromBytes = makeSteps({7, 8});
    ZSteps fromText = makeSteps({7, 8});
    EXPECT_TRUE(fromBinary(toBinary(written), fromBytes));
    EXPECT_TRUE(fromXml(toXml(written), fromText));
    EXPECT_EQ(toBits(fromBytes.getSteps()), toBits(written.getSteps()));
    EXPECT_EQ(toBits(fromText.getSteps()), toBits(written.getSteps()));
}

TEST(ZSteps, ANanIsStillANanAfterBinaryAndXmlArchives) {
    ZSteps const written = makeSteps({1, std::numeric_limits<float>::quiet_NaN(), 2});
    ZSteps fromBytes;
    ZSteps fromText;
    EXPECT_TRUE(fromBinary(toBinary(written), fromBytes));
    EXPECT_TRUE(fromXml(toXml(written), fromText));
    for (ZSteps const* const pRead : {&fromBytes, &fromText}) {
        ASSERT_EQ(pRead->getSteps().size(), 3U);
        EXPECT_EQ(pRead->getSteps()[0], 1);
        EXPECT_TRUE(std::isnan(pRead->getSteps()[1]));
        EXPECT_EQ(pRead->getSteps()[2], 2);
    }
}

TEST(ZSteps, AnEmptyRecordReplacesWhatWasThere) {
    ZSteps fromBytes = makeSteps({7, 8});
    ZSteps fromText = makeSteps({7, 8});
    EXPECT_TRUE(fromBinary(toBinary(ZSteps()), fromBytes));
    EXPECT_TRUE(fromXml(toXml(ZSteps()), fromText));
    EXPECT_THAT(fromBytes.getSteps(), IsEmpty());
    EXPECT_THAT(fromText.getSteps(), IsEmpty());
}

TEST(ZSteps, AreFoundByTheirTypeNameInAnArchive) {
    std::stringstream stream;
    BinaryOArchive oArchive(stream);
    oArchive.writeObject("steps", boost::make_shared<ZSteps>(makeSteps({1, 2.5F})));
    BinaryIArchive iArchive(stream);
    auto const pRead = boost::dynamic_pointer_cast<ZSteps>(iArchive.readObject("steps"));
    ASSERT_TRUE(pRead);
    EXPECT_THAT(pRead->getSteps(), ElementsAre(1, 2.5F));
}

TEST(ZSteps, ARecordCutAtAnyByteIsRefusedAndChangesNothing) {
    std::string const record = toBinary(makeSteps({1, 2, 3}));
    for (std::size_t length = 0; length < record.size(); ++length) {
        ZSteps read = makeSteps({7, 8});
        EXPECT_THROW(fromBinary(record.substr(0, length), read), VELMOSerializationException) << length;
        EXPECT_THAT(read.getSteps(), ElementsAre(7, 8)) << length;
    }
}

TEST(ZSteps, ACountFarBeyondTheRecordIsRefusedWithoutRoomBeingMade) {
    ZSteps read = makeSteps({7});
    std::string const record = withItem(toXml(makeSteps({1, 2})), "nbValues", "18446744073709551615");
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { fromXml(record, read); }),
              "The archive has no item value where it is expected");
    EXPECT_THAT(read.getSteps(), ElementsAre(7));
}

TEST(ZSteps, AValueThatIsNoNumberIsRefused) {
    ZSteps read = makeSteps({7});
    std::string const record = withItem(toXml(makeSteps({1, 2})), "value", "one");
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { fromXml(record, read); }),
              "Item value of the archive has no value of its type: one");
    EXPECT_THAT(read.getSteps(), ElementsAre(7));
}

TEST(ZSteps, ARecordOfANewerVersionIsRefused) {
    ZSteps read;
    std::string const xml = toXml(makeSteps({1}));
    EXPECT_THAT(
        thrownText<VELMOSerializationException>([&] { fromXml(withItem(xml, "version", "2"), read); }),
        HasSubstr("Version 2 of class velmo::imaproc::attr::ZSteps"));
}

TEST(ZSteps, AreReadFromTheXmlFileThatTheyWereWrittenTo) {
    TemporaryFolder const folder;
    writeToXmlFile(folder / "steps.xml", makeSteps({0.1F, 2, 0.25F}));
    ZSteps read;
    readFromXmlFile(folder / "steps.xml", read);
    EXPECT_THAT(read.getSteps(), ElementsAre(0.1F, 2, 0.25F));
}

TEST(ZSteps, StandInAnXmlFileAsTheirNumberAndTheirValues) {
    TemporaryFolder const folder;
    writeToXmlFile(folder / "steps.xml", makeSteps({1, 2.5F}));
    EXPECT_EQ(readFile(folder / "steps.xml"),
              "<?xml version=\"1.0\"?>\n"
              "<archive>\n"
              "\t<section name=\"object\">\n"
              "\t\t<item name=\"className\" value=\"velmo::imaproc::attr::ZSteps\" />\n"
              "\t\t<section name=\"velmo::imaproc::attr::ZSteps\">\n"
              "\t\t\t<item name=\"version\" value=\"1\" />\n"
              "\t\t</section>\n"
              "\t\t<item name=\"nbValues\" value=\"2\" />\n"
              "\t\t<item name=\"value\" value=\"1\" />\n"
              "\t\t<item name=\"value\" value=\"2.5\" />\n"
              "\t</section>\n"
              "</archive>\n");
}

TEST(ZSteps, AnXmlFileOfAnotherClassIsRefused) {
    TemporaryFolder const folder;
    writeToXmlFile(folder / "calibration.xml", GeometricCalibration());
    ZSteps read = makeSteps({7});
    EXPECT_EQ(
        thrownText<VELMOSerializationException>([&] { readFromXmlFile(folder / "calibration.xml", read); }),
        "An object of class " + GeometricCalibration::getTypeName() +
            " cannot be item object of the archive");
    EXPECT_THAT(read.getSteps(), ElementsAre(7));
}

TEST(ZSteps, CopiesHaveStepsOfTheirOwn) {
    ZSteps const original = makeSteps({1, 2});
    auto const pDuplicate = boost::dynamic_pointer_cast<ZSteps>(original.duplicateShared());
    ZSteps copied;
    copied.copy(original);
    ASSERT_TRUE(pDuplicate);
    EXPECT_TRUE(original.hasCopySupport());
    EXPECT_EQ(pDuplicate->getClassName(), "velmo::imaproc::attr::ZSteps");
    for (ZSteps* const pCopy : {pDuplicate.get(), &copied}) {
        EXPECT_THAT(pCopy->getSteps(), ElementsAre(1, 2));
        pCopy->accessSteps().push_back(3);
    }
    EXPECT_THAT(original.getSteps(), ElementsAre(1, 2));
}

TEST(ZSteps, AreNotCopiedFromAnObjectOfAnotherClass) {
    ZSteps steps = makeSteps({1, 2});
    EXPECT_THROW(steps.copy(GeometricCalibration()), VELMOUtilException);
    EXPECT_THAT(steps.getSteps(), ElementsAre(1, 2));
}

} // namespace velmo::test
