// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageAccessor.h"

#include "ArchiveRecords.h"
#include "ByteAccessor.h"
#include "GeometryBuilder.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/DynamicRegistrator.h"

#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;
using testing::HasSubstr;

namespace {

/// Reaches what a subclass alone may call.
class OpenAccessor : public ByteAccessor {
  public:
    using BaseDiskImageAccessor::initBase;
};

GeometricCalibrationPtr makeCalibration() {
    return createGeometricCalibration2d(0.5F, 0.25F, "mm", 1, 2, 3, 4, 5);
}

void expectCleared(BaseDiskImageAccessor const& accessor) {
    EXPECT_FALSE(accessor.isInit());
    EXPECT_TRUE(accessor.getFilePath().empty());
    EXPECT_EQ(accessor.getAccessMode(), eIAM_ReadOnly);
    EXPECT_FALSE(accessor.hasSharedRemoteAccess());
    EXPECT_FALSE(accessor.getGeometricCalibrationConstPtr());
    EXPECT_EQ(thrownText<VELMOImageException>([&] { accessor.getGeometry(); }),
              "The image accessor is not initialised");
}

} // namespace

TEST(ImageAccessor, IsNotInitialisedAtFirstAndAfterClear) {
    ByteAccessor accessor;
    expectCleared(accessor);
    accessor.clear();
    expectCleared(accessor);
    accessor.create("clear.raw", *GeometryBuilder().build(), makeCalibration(), eIAM_ReadWrite, true);
    EXPECT_TRUE(accessor.isInit());
    accessor.clear();
    EXPECT_FALSE(accessor.hasStorage());
    expectCleared(accessor);
}

TEST(ImageAccessor, KeepsWhatItIsInitialisedWith) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(4).build();
    std::string const expected = describe(*pGeometry);
    GeometricCalibrationPtr const pCalibration = makeCalibration();
    OpenAccessor accessor;
    accessor.initBase("/some where/x.raw", static_cast<eImageAccessMode>(1), *pGeometry, pCalibration, true);
    pGeometry->setBufferType(eIBT_Real32);
    EXPECT_TRUE(accessor.isInit());
    EXPECT_EQ(accessor.getFilePath().string(), "/some where/x.raw");
    EXPECT_EQ(static_cast<vlUInt64>(accessor.getAccessMode()), 1U);
    EXPECT_EQ(describe(accessor.getGeometry()), expected);
    EXPECT_EQ(accessor.getGeometricCalibrationConstPtr(), pCalibration);
    EXPECT_TRUE(accessor.hasSharedRemoteAccess());
}

TEST(ImageAccessor, CanBeInitialisedWithWhatItHolds) {
    OpenAccessor accessor;
    std::string const expected = describe(*GeometryBuilder().volume(4).build());
    accessor.initBase("own.raw", eIAM_ReadOnly, *GeometryBuilder().volume(4).build(), makeCalibration(),
                      true);
    GeometricCalibrationConstPtr const pCalibration = accessor.getGeometricCalibrationConstPtr();
    for (int round = 0; round < 3; ++round) {
        accessor.initBase(accessor.getFilePath(), eIAM_ReadWrite, accessor.getGeometry(),
                          accessor.getGeometricCalibrationConstPtr(), accessor.hasSharedRemoteAccess());
        EXPECT_EQ(accessor.getFilePath().string(), "own.raw");
        EXPECT_EQ(describe(accessor.getGeometry()), expected);
        EXPECT_EQ(accessor.getGeometricCalibrationConstPtr(), pCalibration);
        EXPECT_EQ(accessor.getAccessMode(), eIAM_ReadWrite);
        EXPECT_TRUE(accessor.hasSharedRemoteAccess());
    }
}

TEST(ImageAccessor, DescribesItselfByClassSizesAndPixelType) {
    ByteAccessor accessor;
    EXPECT_EQ(accessor.getImageInfoStr(), "velmo::test::ByteAccessor");
    accessor.create("info.raw",
                    *GeometryBuilder().volume(4).color(eCGT_Rgb).sequence(2).type(eIBT_Int16).build());
    EXPECT_EQ(accessor.getImageInfoStr(), "velmo::test::ByteAccessor x=5 y=3 z=4 c=3 t=2 eIBT_Int16");
}

TEST(ImageAccessor, TheStateOfTheBaseComesBackFromArchives) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        ByteAccessor accessor;
        accessor.create("/data/stack \xC3\xA9.raw", *kind.pGeometry, makeCalibration(), eIAM_ReadWrite, true);
        ByteAccessor fromBinaryRecord;
        ByteAccessor fromXmlRecord;
        EXPECT_TRUE(fromBinary(toBinary(accessor), fromBinaryRecord));
        EXPECT_TRUE(fromXml(toXml(accessor), fromXmlRecord));
        for (ByteAccessor const* pRead : {&fromBinaryRecord, &fromXmlRecord}) {
            EXPECT_TRUE(pRead->isInit());
            EXPECT_EQ(pRead->getFilePath(), accessor.getFilePath());
            EXPECT_EQ(pRead->getAccessMode(), eIAM_ReadWrite);
            EXPECT_TRUE(pRead->hasSharedRemoteAccess());
            EXPECT_EQ(describe(pRead->getGeometry()), describe(*kind.pGeometry));
            ASSERT_TRUE(pRead->getGeometricCalibrationConstPtr());
            EXPECT_EQ(pRead->getGeometricCalibrationConstPtr()->getUnit(), "mm");
        }
        accessor.create("plain.raw", *kind.pGeometry);
        EXPECT_TRUE(fromBinary(toBinary(accessor), fromBinaryRecord));
        EXPECT_FALSE(fromBinaryRecord.getGeometricCalibrationConstPtr());
        EXPECT_FALSE(fromBinaryRecord.hasSharedRemoteAccess());
        EXPECT_TRUE(fromBinary(toBinary(ByteAccessor()), fromBinaryRecord));
        expectCleared(fromBinaryRecord);
    }
}

TEST(ImageAccessor, ARecordCutAtAnyByteIsRefused) {
    ByteAccessor accessor;
    accessor.create("cut.raw", *GeometryBuilder().volume(4).build(), makeCalibration());
    std::string const record = toBinary(accessor);
    for (std::size_t length = 0; length < record.size(); ++length) {
        ByteAccessor read;
        EXPECT_THROW(fromBinary(record.substr(0, length), read), VELMOSerializationException) << length;
        EXPECT_FALSE(read.isInit()) << length;
    }
}

TEST(ImageAccessor, ARecordWithAnObjectOfAnotherClassIsRefused) {
    ByteAccessor accessor;
    accessor.create("class.raw", *GeometryBuilder().build());
    ByteAccessor read;
    std::string const calibration = GeometricCalibration::getTypeName();
    std::string xml = toXml(accessor);
    std::string const geometrySection = xml.substr(xml.find("<section name=\"geometry\""));
    ByteAccessor calibrated;
    calibrated.create("class.raw", *GeometryBuilder().build(), makeCalibration());
    std::string const calibratedXml = toXml(calibrated);
    auto const from = calibratedXml.find("<section name=\"calibration\"");
    std::string const swapped =
        xml.substr(0, xml.size() - geometrySection.size()) + calibratedXml.substr(from);
    EXPECT_THAT(thrownText<VELMOSerializationException>([&] { fromXml(swapped, read); }),
                HasSubstr("An object of class " + calibration + " cannot be item geometry"));
    EXPECT_FALSE(read.isInit());
}

TEST(ImageAccessor, AnInitialisedRecordWithoutAGeometryIsAFailure) {
    ByteAccessor accessor;
    accessor.create("none.raw", *GeometryBuilder().build());
    std::string const xml = toXml(accessor);
    auto const from = xml.find("<section name=\"geometry\"");
    auto const to = xml.find("<section name=\"calibration\"");
    std::string const withoutGeometry =
        xml.substr(0, from) + R"(<section name="geometry"><item name="className" value=""/></section>)" +
        xml.substr(to);
    ByteAccessor read;
    BoolResult const result = fromXml(withoutGeometry, read);
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.getMessage().empty());
    EXPECT_FALSE(read.isInit());
}

TEST(ImageAccessor, ARegisteredAccessorIsRebuiltFromAnArchive) {
    DynamicRegistrator<ByteAccessor> const registrator;
    auto const pAccessor = makeByteAccessor("rebuilt.raw", *GeometryBuilder().volume(2).build());
    std::stringstream stream;
    BinaryOArchive oArchive(stream);
    oArchive.writeObject("accessor", pAccessor);
    BinaryIArchive iArchive(stream);
    auto const pRead = boost::dynamic_pointer_cast<ByteAccessor>(iArchive.readObject("accessor"));
    ASSERT_TRUE(pRead);
    EXPECT_EQ(pRead->getFilePath().string(), "rebuilt.raw");
    EXPECT_EQ(&pRead->getStorage(), &pAccessor->getStorage());
}
