// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImageAccessor.h"
#include "ArchiveRecords.h"
#include "JoinTools.h"
#include "Processes.h"
#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/ClassVersion.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOUtil/VELMOUtilLog.h"
#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;

namespace {

/// Three parts of 2, 1 and 3 planes, each with a calibration, a mode and a flag of its own.
class JoinedAccessor : public testing::Test {
  protected:
    JoinedAccessor();

    void join();
    /// The geometry and the pixels of an accessor that is joined from these parts.
    void expectWhole(image::JoinedImageAccessor const& accessor) const;

    DynamicRegistrator<ByteAccessor> const _registrator;
    std::vector<image::JoinedImageAccessor::PartPtr> _parts;
    std::vector<image::ImagePtr> _images;
    std::vector<ByteStorage*> _storages;
    image::JoinedImageAccessor _accessor;
};

JoinedAccessor::JoinedAccessor() {
    for (vlUInt64 const sizeZ : {2UL, 1UL, 3UL}) {
        auto const pPart = boost::make_shared<ByteAccessor>();
        bool const bFirst = _parts.empty();
        pPart->create("joined " + std::to_string(_parts.size()), *partBuilder(eJoinAxis::Z, sizeZ).build(),
                      createGeometricCalibration2d(bFirst ? 3.0F : 4.0F, 2, "mm", 0, 0, 0, 0, 0),
                      bFirst ? static_cast<eImageAccessMode>(1) : eIAM_ReadOnly, bFirst);
        pPart->getStorage().bytes = makePattern(countBytes(pPart->getGeometry()), sizeZ * 100);
        _storages.push_back(&pPart->getStorage());
        _parts.push_back(pPart);
        _images.push_back(boost::make_shared<DiskImage>(pPart));
    }
}

void JoinedAccessor::join() {
    ASSERT_THAT(_accessor.join(_parts, eJoinAxis::Z), Succeeds());
}

void JoinedAccessor::expectWhole(JoinedImageAccessor const& accessor) const {
    ASSERT_TRUE(accessor.isInit());
    EXPECT_EQ(describe(accessor.getGeometry()), describe(*partBuilder(eJoinAxis::Z, 6).build()));
    auto const pShared = boost::shared_ptr<BaseDiskImageAccessor>(const_cast<JoinedImageAccessor*>(&accessor),
                                                                  [](auto const*) {});
    EXPECT_TRUE(readAll(DiskImage(pShared)) == readParts(_images, eJoinAxis::Z));
}

void expectWithoutFiles(JoinedImageAccessor& accessor) {
    Bytes buffer(10);
    EXPECT_FALSE(accessor.isInit());
    EXPECT_TRUE(accessor.getFilePath().empty());
    EXPECT_FALSE(accessor.isStoredIn("/proc/self/exe"));
    EXPECT_THAT(accessor.readRawData(0, 0, 0, 0, 1, buffer.data()),
                FailsWith("The image accessor is not initialised"));
    EXPECT_THAT(accessor.writeRawData(0, 0, 0, 0, 1, buffer.data()),
                FailsWith("The image accessor is not initialised"));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { accessor.getGeometry(); }),
              "The image accessor is not initialised");
    EXPECT_FALSE(accessor.resizeData(*GeometryBuilder().build()));
}

} // namespace

TEST_F(JoinedAccessor, HasNoFilesBeforeItsJoin) {
    expectWithoutFiles(_accessor);
    _accessor.clear();
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedAccessor, PassesRunsOnWithThePlaceWithinThePart) {
    join();
    std::vector<vlUInt64> seen;
    auto const gate = [&seen](PixelRun const& run) {
        seen = {run.z, run.c, run.t, run.pixelStart, run.nbPixels};
        return success();
    };
    _storages[2]->readGate = gate;
    _storages[2]->writeGate = gate;
    Bytes buffer(12);
    EXPECT_THAT(_accessor.readRawData(4, 2, 0, 7, 6, buffer.data()), Succeeds());
    EXPECT_THAT(seen, testing::ElementsAre(1, 2, 0, 7, 6));
    EXPECT_THAT(_accessor.writeRawData(5, 1, 0, 3, 2, buffer.data()), Succeeds());
    EXPECT_THAT(seen, testing::ElementsAre(2, 1, 0, 3, 2));
    EXPECT_EQ(_storages[0]->getNbVisits() + _storages[1]->getNbVisits(), 0U);
}

TEST_F(JoinedAccessor, HasThePathTheModeTheFlagAndTheCalibrationOfTheFirst) {
    join();
    EXPECT_TRUE(_accessor.isInit());
    EXPECT_EQ(_accessor.getFilePath().string(), "joined 0");
    EXPECT_EQ(static_cast<vlUInt64>(_accessor.getAccessMode()), 1U);
    EXPECT_TRUE(_accessor.hasSharedRemoteAccess());
    EXPECT_EQ(_accessor.getGeometricCalibrationConstPtr(), _parts[0]->getGeometricCalibrationConstPtr());
    EXPECT_TRUE(_accessor.hasBinary8BitsStorage());
    EXPECT_EQ(_accessor.getImageInfoStr(),
              "velmo::image::JoinedImageAccessor x=5 y=3 z=6 c=3 t=1 eIBT_UInt16");
}

TEST_F(JoinedAccessor, IsNeverCopiedAndNeverResizedAndMakesNewOnesWithoutFiles) {
    join();
    EXPECT_FALSE(_accessor.hasCopySupport());
    EXPECT_THROW(_accessor.duplicate(), VELMOUtilException);
    EXPECT_THROW(_accessor.duplicateShared(), VELMOUtilException);
    EXPECT_THROW(_accessor.copy(JoinedImageAccessor()), VELMOUtilException);
    EXPECT_THAT(_accessor.resizeData(*GeometryBuilder().volume(9).build()),
                FailsWith("Joined images have the sizes of their parts"));
    expectWhole(_accessor);
    for (DynamicObjectPtr const& pObject :
         {DynamicObjectPtr(_accessor.createNew()), _accessor.createShared()}) {
        EXPECT_EQ(pObject->getClassName(), "velmo::image::JoinedImageAccessor");
        EXPECT_FALSE(dynamic_cast<JoinedImageAccessor const&>(*pObject).isInit());
    }
}

TEST_F(JoinedAccessor, ClearLetsItsPartsGo) {
    join();
    _accessor.clear();
    expectWithoutFiles(_accessor);
    EXPECT_EQ(_parts[0].use_count(), 2); // here and in the image of the fixture
}

TEST_F(JoinedAccessor, ARefusedJoinLeavesItWithoutFiles) {
    join();
    auto const pOther = makeByteAccessor("other", *GeometryBuilder().build());
    EXPECT_THAT(_accessor.join({_parts[0], pOther}, eJoinAxis::Z), FailsLike("Image 1 ("));
    expectWithoutFiles(_accessor);
    join();
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  EXPECT_FALSE(_accessor.join({_parts[0], boost::make_shared<ByteAccessor>()}, eJoinAxis::Z));
              }),
              "The image accessor is not initialised");
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedAccessor, CanBeJoinedAnew) {
    join();
    ASSERT_THAT(_accessor.join({_parts[2]}, eJoinAxis::Z), Succeeds());
    EXPECT_EQ(_accessor.getFilePath().string(), "joined 2");
    EXPECT_EQ(describe(_accessor.getGeometry()), describe(*partBuilder(eJoinAxis::Z, 3).build()));
    join();
    expectWhole(_accessor);
}

TEST_F(JoinedAccessor, ManyThreadsWriteDifferentPlanesAndReadAllAtOnce) {
    join();
    Bytes const pattern = makePattern(18 * 30, 3);
    std::atomic<unsigned int> nbWritten{0};
    onThreads(6, [&](unsigned int z) {
        for (vlUInt64 c = 0; c < 3; ++c) {
            nbWritten += _accessor.writeRawData(z, c, 0, 0, 15, &pattern[(c * 6 + z) * 30]) ? 1 : 0;
        }
    });
    EXPECT_EQ(nbWritten, 18U);
    EXPECT_TRUE(readParts(_images, eJoinAxis::Z) == pattern);
    DiskImage const image(boost::shared_ptr<BaseDiskImageAccessor>(&_accessor, [](auto const*) {}));
    std::atomic<unsigned int> nbRight{0};
    onThreads(8, [&](unsigned int) { nbRight += readAll(image) == pattern ? 1 : 0; });
    EXPECT_EQ(nbRight, 8U);
}

using testing::HasSubstr;

namespace {

using PartPtr = JoinedImageAccessor::PartPtr;
using JoinedRecord = JoinedAccessor;

/// What stands before the parts, joined along Z.
void writeHead(BaseOArchive& archive, vlUInt64 nbParts) {
    writeClassVersion(archive, JoinedImageAccessor::getTypeName(), 1);
    archive << oItem("axis", 0) << oItem("nbParts", nbParts);
}

/// A binary record of joined accessors, each the only part of the one around it.
std::string makeNestedRecord(vlUInt64 depth) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    for (vlUInt64 level = 0; level < depth; ++level) {
        writeHead(archive, 1);
        archive << oItem("className", JoinedImageAccessor::getTypeName());
    }
    writeHead(archive, 0);
    return stream.str();
}

} // namespace

TEST_F(JoinedRecord, ComesBackFromArchivesWithAllItsParts) {
    join();
    JoinedImageAccessor fromBytes;
    JoinedImageAccessor fromText;
    EXPECT_THAT(fromBinary(toBinary(_accessor), fromBytes), Succeeds());
    EXPECT_THAT(fromXml(toXml(_accessor), fromText), Succeeds());
    for (JoinedImageAccessor const* const pRead : {&fromBytes, &fromText}) {
        expectWhole(*pRead);
        EXPECT_EQ(pRead->getFilePath().string(), "joined 0");
        EXPECT_EQ(static_cast<vlUInt64>(pRead->getAccessMode()), 1U);
        EXPECT_TRUE(pRead->hasSharedRemoteAccess());
        ASSERT_TRUE(pRead->getGeometricCalibrationConstPtr());
        EXPECT_EQ(pRead->getGeometricCalibrationConstPtr()->getPixelSizeX(), 3);
    }
}

TEST_F(JoinedRecord, AlongTComesBackFromArchivesWithTheTypeOfEachTimeStep) {
    std::vector<PartPtr> const parts = {
        makeByteAccessor("step 0", *GeometryBuilder().build()),
        makeByteAccessor("step 1", *GeometryBuilder().type(eIBT_Real32).sequence(2).build())};
    ASSERT_THAT(_accessor.join(parts, eJoinAxis::T), Succeeds());
    for (bool const bBinary : {true, false}) {
        JoinedImageAccessor read;
        EXPECT_THAT(bBinary ? fromBinary(toBinary(_accessor), read) : fromXml(toXml(_accessor), read),
                    Succeeds());
        EXPECT_EQ(
            describe(read.getGeometry()),
            describe(*GeometryBuilder().sequence(3).types({eIBT_UInt8, eIBT_Real32, eIBT_Real32}).build()));
    }
}

TEST_F(JoinedRecord, OfJoinedPartsComesBackFromAnArchive) {
    auto const pInner = boost::make_shared<JoinedImageAccessor>();
    ASSERT_THAT(pInner->join({_parts[0], _parts[1]}, eJoinAxis::Z), Succeeds());
    ASSERT_THAT(_accessor.join({pInner, _parts[2]}, eJoinAxis::Z), Succeeds());
    JoinedImageAccessor read;
    EXPECT_THAT(fromBinary(toBinary(_accessor), read), Succeeds());
    expectWhole(read);
}

TEST_F(JoinedRecord, IsRebuiltByItsTypeName) {
    auto const pAccessor = boost::make_shared<JoinedImageAccessor>();
    ASSERT_THAT(pAccessor->join(_parts, eJoinAxis::Z), Succeeds());
    std::stringstream stream;
    BinaryOArchive oArchive(stream);
    oArchive.writeObject("accessor", pAccessor);
    BinaryIArchive iArchive(stream);
    auto const pRead = boost::dynamic_pointer_cast<JoinedImageAccessor>(iArchive.readObject("accessor"));
    ASSERT_TRUE(pRead);
    expectWhole(*pRead);
}

TEST_F(JoinedRecord, ARecordWithoutPartsIsAnAccessorWithoutFiles) {
    JoinedImageAccessor const empty;
    join();
    EXPECT_THAT(fromBinary(toBinary(empty), _accessor), Succeeds());
    expectWithoutFiles(_accessor);
    join();
    EXPECT_THAT(fromXml(toXml(empty), _accessor), Succeeds());
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedRecord, ARecordCutAtAnyByteIsRefused) {
    join();
    std::string const record = toBinary(_accessor);
    for (std::size_t length = 0; length < record.size(); ++length) {
        JoinedImageAccessor read;
        EXPECT_THROW(fromBinary(record.substr(0, length), read), VELMOSerializationException) << length;
        EXPECT_FALSE(read.isInit()) << length;
    }
}

TEST_F(JoinedRecord, ARecordOfFewerPartsThanItAnnouncesIsRefused) {
    join();
    for (char const* const nbParts : {"4", "1000000000000", "18446744073709551615"}) {
        JoinedImageAccessor read;
        EXPECT_THROW(fromXml(withItem(toXml(_accessor), "nbParts", nbParts), read),
                     VELMOSerializationException)
            << nbParts;
        expectWithoutFiles(read);
    }
}

TEST_F(JoinedRecord, ANewerVersionAndAPartThatIsNoAccessorWithAFileAreRefused) {
    auto const recordOf = [](std::vector<DynamicObjectPtr> const& parts) {
        std::ostringstream stream;
        BinaryOArchive archive(stream);
        writeHead(archive, parts.size());
        for (DynamicObjectPtr const& pPart : parts) {
            archive.writeObject("part", pPart);
        }
        return stream.str();
    };
    auto const refusal = [&](std::string const& record) -> std::string {
        join();
        try {
            return fromBinary(record, _accessor).getMessage();
        } catch (BaseException const& exception) {
            return exception.what();
        }
    };
    EXPECT_EQ(refusal(recordOf({_parts[0], nullptr})), "The record of the accessor holds no accessor");
    expectWithoutFiles(_accessor);
    EXPECT_EQ(refusal(recordOf({boost::make_shared<ByteAccessor>()})),
              "The image accessor is not initialised");
    expectWithoutFiles(_accessor);
    EXPECT_EQ(refusal(recordOf({boost::make_shared<GeometricCalibration>()})),
              "An object of class " + GeometricCalibration::getTypeName() +
                  " cannot be item part of the archive");
    expectWithoutFiles(_accessor);
    std::string newer = recordOf({});
    newer[0] = '\2';
    EXPECT_THAT(refusal(newer), HasSubstr("Version 2 of class velmo::image::JoinedImageAccessor"));
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedRecord, PartsThatDoNotFitAreRefusedOnReading) {
    join();
    std::string const xml = toXml(_accessor);
    EXPECT_THAT(fromXml(withItem(xml, "sizeX", "6"), _accessor), FailsLike("Image 1 (x=5 y=3 "));
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedRecord, RecordsNestedInEachOtherAreRefusedBeforeTheStackEnds) {
    for (vlUInt64 const depth : {65U, 100000U}) {
        EXPECT_THAT(
            thrownText<VELMOSerializationException>([&] { fromBinary(makeNestedRecord(depth), _accessor); }),
            HasSubstr("is nested deeper than 64 levels"));
        expectWithoutFiles(_accessor);
    }
}

} // namespace velmo::test
