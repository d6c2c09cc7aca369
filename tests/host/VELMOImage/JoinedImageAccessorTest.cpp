// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImageAccessor.h"

#include "JoinedAccessor.h"
#include "Processes.h"
#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/ImageFactory.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/VELMOUtilLog.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;

namespace {

using PartPtr = JoinedImageAccessor::PartPtr;

} // namespace

TEST_F(JoinedAccessor, HasNoFilesBeforeItsJoin) {
    expectWithoutFiles(_accessor);
    _accessor.clear();
    expectWithoutFiles(_accessor);
}

TEST_F(JoinedAccessor, ReadsEachPlaneFromThePartThatHoldsIt) {
    join();
    expectWhole(_accessor);
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

TEST_F(JoinedAccessor, WritesToThePartThatHoldsThePlane) {
    join();
    Bytes const pixels = makePattern(30, 5);
    EXPECT_THAT(_accessor.writeRawData(2, 1, 0, 0, 15, pixels.data()), Succeeds());
    Bytes const& bytes = _storages[1]->bytes;
    EXPECT_TRUE(Bytes(bytes.begin() + 30, bytes.begin() + 60) == pixels);
    expectWhole(_accessor);
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

TEST_F(JoinedAccessor, IsTakenByTheFactory) {
    auto const pAccessor = boost::make_shared<JoinedImageAccessor>();
    ASSERT_THAT(pAccessor->join(_parts, eJoinAxis::Z), Succeeds());
    DiskImagePtr pImage;
    ASSERT_THAT(ImageFactory::getInstance().createDiskImage(pAccessor, pImage), Succeeds());
    EXPECT_TRUE(readAll(*pImage) == readParts(_images, eJoinAxis::Z));
}

TEST_F(JoinedAccessor, AFailureOfAPartIsPassedOn) {
    join();
    _storages[1]->readGate = [](PixelRun const&) { return failure("gone"); };
    _storages[1]->writeGate = [](PixelRun const&) { return failure("full"); };
    Bytes buffer(2);
    EXPECT_THAT(_accessor.readRawData(2, 0, 0, 0, 1, buffer.data()), FailsWith("gone"));
    EXPECT_THAT(_accessor.writeRawData(2, 0, 0, 0, 1, buffer.data()), FailsWith("full"));
    EXPECT_THAT(_accessor.readRawData(3, 0, 0, 0, 1, buffer.data()), Succeeds());
}

TEST_F(JoinedAccessor, IsNeverResized) {
    join();
    EXPECT_THAT(_accessor.resizeData(*GeometryBuilder().volume(9).build()),
                FailsWith("Joined images have the sizes of their parts"));
    expectWhole(_accessor);
}

TEST_F(JoinedAccessor, IsNeverCopied) {
    join();
    EXPECT_FALSE(_accessor.hasCopySupport());
    EXPECT_THROW(_accessor.duplicate(), VELMOUtilException);
    EXPECT_THROW(_accessor.duplicateShared(), VELMOUtilException);
    EXPECT_THROW(_accessor.copy(JoinedImageAccessor()), VELMOUtilException);
    expectWhole(_accessor);
}

TEST_F(JoinedAccessor, MakesNewOnesOfItsClassWithoutFiles) {
    join();
    std::unique_ptr<BaseDynamicObject> const pNew(_accessor.createNew());
    auto const pShared = boost::dynamic_pointer_cast<JoinedImageAccessor>(_accessor.createShared());
    ASSERT_TRUE(pShared);
    EXPECT_EQ(pNew->getClassName(), "velmo::image::JoinedImageAccessor");
    EXPECT_FALSE(dynamic_cast<JoinedImageAccessor const&>(*pNew).isInit());
    EXPECT_FALSE(pShared->isInit());
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
}

TEST_F(JoinedAccessor, APartWithoutAFileIsThrownAndLeavesItWithoutFiles) {
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

TEST_F(JoinedAccessor, ManyThreadsReadItAtOnce) {
    join();
    Bytes const expected = readParts(_images, eJoinAxis::Z);
    auto const pShared = PartPtr(&_accessor, [](auto const*) {});
    DiskImage const image(pShared);
    std::atomic<unsigned int> nbRight{0};
    onThreads(8, [&](unsigned int) { nbRight += readAll(image) == expected ? 1 : 0; });
    EXPECT_EQ(nbRight, 8U);
}

TEST_F(JoinedAccessor, ManyThreadsWriteDifferentPlanesAtOnce) {
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
    expectWhole(_accessor);
}

} // namespace velmo::test
