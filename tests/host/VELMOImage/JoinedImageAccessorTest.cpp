// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImageAccessor.h"

#include "JoinedAccessor.h"
#include "Processes.h"
#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/VELMOUtilLog.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;

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

} // namespace velmo::test
