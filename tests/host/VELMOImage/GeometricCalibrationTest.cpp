// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometricCalibration.h"

#include "ArchiveRecords.h"

#include <cstring>
#include <limits>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

using Limits = std::numeric_limits<float>;

/// The bits of all floats, and the rest in words.
std::string describeBits(GeometricCalibration const& calibration) {
    std::ostringstream text;
    text << calibration.is3d() << ' ' << calibration.getUnit() << std::hex;
    auto const putBits = [&text](float value) {
        unsigned int bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        text << ' ' << bits;
    };
    putBits(calibration.getPixelSizeX());
    putBits(calibration.getPixelSizeY());
    putBits(calibration.getPixelSizeZ());
    for (float const term : calibration.getFurtherTerms()) {
        putBits(term);
    }
    return text.str();
}

std::string describeValues(GeometricCalibration const& calibration) {
    std::ostringstream text;
    text << (calibration.is3d() ? "3d " : "2d ") << calibration.getPixelSizeX() << ' '
         << calibration.getPixelSizeY() << ' ' << calibration.getPixelSizeZ() << ' ' << calibration.getUnit()
         << ':';
    for (float const term : calibration.getFurtherTerms()) {
        text << ' ' << term;
    }
    return text.str();
}

GeometricCalibration make2d() {
    GeometricCalibration calibration;
    calibration.init2d(0.1F, 1.0F / 3.0F, "\xC2\xB5m", -0.0F, Limits::denorm_min(), Limits::max(),
                       Limits::lowest(), 16777217.0F);
    return calibration;
}

GeometricCalibration make3d() {
    GeometricCalibration calibration;
    calibration.init3d(0.1F, 0.7F, 2.3F, "mm", Limits::min(), Limits::epsilon(), Limits::infinity(),
                       -Limits::infinity(), 1e-30F, 3.4028234e38F, -1.17549421e-38F);
    return calibration;
}

} // namespace

TEST(GeometricCalibration, KeepsItsArgumentsInTwoAndThreeDimensions) {
    GeometricCalibration calibration;
    EXPECT_EQ(describeValues(calibration), "2d 1 1 1 : 0 0 0 0 0 0 0");
    calibration.init3d(0.5F, 0.25F, 8.0F, "mm", 1, 2, 3, 4, 5, 6, 7);
    EXPECT_EQ(describeValues(calibration), "3d 0.5 0.25 8 mm: 1 2 3 4 5 6 7");
    calibration.init2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5);
    EXPECT_EQ(describeValues(calibration), "2d 0.5 0.25 1 um: 1 2 3 4 5 0 0");
    EXPECT_EQ(describeBits(*createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5)),
              describeBits(calibration));
}

TEST(GeometricCalibration, ComesBackFromArchivesBitForBit) {
    for (GeometricCalibration const& calibration : {GeometricCalibration(), make2d(), make3d()}) {
        GeometricCalibration fromBinaryRecord = make3d();
        GeometricCalibration fromXmlRecord = make2d();
        EXPECT_TRUE(fromBinary(toBinary(calibration), fromBinaryRecord));
        EXPECT_TRUE(fromXml(toXml(calibration), fromXmlRecord));
        EXPECT_EQ(describeBits(fromBinaryRecord), describeBits(calibration));
        EXPECT_EQ(describeBits(fromXmlRecord), describeBits(calibration));
    }
    unsigned int const bits = 0xFFC12345U;
    float payload = 0;
    std::memcpy(&payload, &bits, sizeof(payload));
    GeometricCalibration calibration;
    calibration.init2d(payload, Limits::quiet_NaN(), "", 0, 0, 0, 0, 0);
    GeometricCalibration read;
    EXPECT_TRUE(fromBinary(toBinary(calibration), read));
    EXPECT_EQ(describeBits(read), describeBits(calibration));
}

TEST(GeometricCalibration, ARecordThatIsCutDamagedOrNewerIsRefusedAndChangesNothing) {
    std::string const binary = toBinary(make3d());
    std::string const xml = toXml(make3d());
    GeometricCalibration read = make2d();
    std::string const before = describeBits(read);
    for (std::size_t length = 0; length < binary.size(); ++length) {
        EXPECT_THROW(fromBinary(binary.substr(0, length), read), VELMOSerializationException) << length;
        EXPECT_EQ(describeBits(read), before) << length;
    }
    std::vector<std::string> records = {withItem(xml, "version", "2")};
    for (std::size_t length = 0; length < xml.rfind('>'); ++length) {
        records.push_back(xml.substr(0, length));
    }
    for (char const* const value : {"", "wide", "1.5x", "1,5"}) {
        records.push_back(withItem(xml, "pixelSizeY", value));
    }
    for (std::string const& record : records) {
        EXPECT_THROW(fromXml(record, read), VELMOSerializationException) << record;
        EXPECT_EQ(describeBits(read), before) << record;
    }
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { fromXml(records[0], read); }),
              "Version 2 of class velmo::image::GeometricCalibration in the archive is newer than the known "
              "version 1");
}

TEST(GeometricCalibration, CopiesAreEqualToAndIndependentOfTheOriginal) {
    GeometricCalibration calibration = make3d();
    std::string const before = describeBits(calibration);
    DynamicObjectPtr const copies[] = {calibration.duplicateShared(),
                                       DynamicObjectPtr(calibration.duplicate()), calibration.createShared()};
    copies[2]->copy(calibration);
    for (DynamicObjectPtr const& pObject : copies) {
        auto& copy = dynamic_cast<GeometricCalibration&>(*pObject);
        EXPECT_EQ(describeBits(copy), before);
        copy.init2d(9, 9, "other", 0, 0, 0, 0, 0);
        EXPECT_EQ(describeBits(calibration), before);
    }
}
