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
#include <cstring>
#include <gmock/gmock.h>
#include <limits>

namespace velmo::test {

namespace {

using image::GeometricCalibration;
using imaproc::attr::ZSteps;
using testing::ElementsAre;
using testing::IsEmpty;

ZSteps makeSteps(std::vector<float> const& values) {
    ZSteps steps;
    steps.accessSteps() = values;
    return steps;
}

std::vector<unsigned int> toBits(std::vector<float> const& values) {
    std::vector<unsigned int> bits(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::memcpy(&bits[i], &values[i], sizeof(float));
    }
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
            -Limits::infinity(),
            Limits::quiet_NaN()};
}

} // namespace

TEST(ZSteps, KeepTheirBitsInBinaryAndXmlArchives) {
    EXPECT_THAT(ZSteps().getSteps(), IsEmpty());
    for (ZSteps const& written : {makeSteps(makeHardValues()), ZSteps()}) {
        ZSteps fromBytes = makeSteps({7, 8});
        ZSteps fromText = makeSteps({7, 8});
        EXPECT_TRUE(fromBinary(toBinary(written), fromBytes));
        EXPECT_TRUE(fromXml(toXml(written), fromText));
        EXPECT_EQ(toBits(fromBytes.getSteps()), toBits(written.getSteps()));
        EXPECT_EQ(toBits(fromText.getSteps()), toBits(written.getSteps()));
    }
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

TEST(ZSteps, ARecordThatIsCutDamagedOrNewerIsRefusedAndChangesNothing) {
    ZSteps read = makeSteps({7, 8});
    std::string const record = toBinary(makeSteps({1, 2, 3}));
    for (std::size_t length = 0; length < record.size(); ++length) {
        EXPECT_THROW(fromBinary(record.substr(0, length), read), VELMOSerializationException) << length;
        EXPECT_THAT(read.getSteps(), ElementsAre(7, 8)) << length;
    }
    std::string const xml = toXml(makeSteps({1, 2}));
    for (auto const& [name, value, text] :
         {std::make_tuple("nbValues", "18446744073709551615", // no room is made for them
                          "The archive has no item value where it is expected"),
          {"value", "one", "Item value of the archive has no value of its type: one"},
          {"version", "2",
           "Version 2 of class velmo::imaproc::attr::ZSteps in the archive is newer than the known "
           "version 1"}}) {
        std::string const damaged = withItem(xml, name, value);
        EXPECT_EQ(thrownText<VELMOSerializationException>([&] { fromXml(damaged, read); }), text);
        EXPECT_THAT(read.getSteps(), ElementsAre(7, 8));
    }
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
    ZSteps read;
    readFromXmlFile(folder / "steps.xml", read);
    EXPECT_THAT(read.getSteps(), ElementsAre(1, 2.5F));
    writeToXmlFile(folder / "calibration.xml", GeometricCalibration());
    EXPECT_EQ(
        thrownText<VELMOSerializationException>([&] { readFromXmlFile(folder / "calibration.xml", read); }),
        "An object of class " + GeometricCalibration::getTypeName() +
            " cannot be item object of the archive");
    EXPECT_THAT(read.getSteps(), ElementsAre(1, 2.5F));
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
    EXPECT_THROW(copied.copy(GeometricCalibration()), VELMOUtilException);
    EXPECT_THAT(copied.getSteps(), ElementsAre(1, 2, 3));
}

} // namespace velmo::test
