// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "CopyTools.h"
#include "CountingEngine.h"
#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/SubImageExtractor.h"
#include "VELMOSerialization/BinaryArchive.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

constexpr vlUInt64 g_sizeZ = 20;

/// A disk image of 20 planes and what it is copied to or from.
class FailingCopy : public testing::Test {
  protected:
    ByteStorage& getStorage() const { return *pStorage; }
    ImagePtr makeOther(eImageKind kind) const { return makeImage(kind, *pGeometry, "other"); }

    DynamicRegistrator<ByteAccessor> const registrator;
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(g_sizeZ).build();
    ImagePtr const pDisk = makeImage(eIK_Disk, *pGeometry, "failing");
    std::shared_ptr<ByteStorage> const pStorage = ByteStorage::open("failing");
};

BoolResult refuseFromPlane3(PixelRun const& run) {
    return run.z < 3 ? success() : failure("plane " + std::to_string(run.z) + " is gone");
}

} // namespace

TEST_F(FailingCopy, StopsAtTheFirstFailureOfSourceOrTargetAndReturnsItsText) {
    Bytes const pattern = makePattern(15 * g_sizeZ);
    writeAll(*pDisk, pattern);
    getStorage().readGate = refuseFromPlane3;
    getStorage().writeGate = refuseFromPlane3;
    auto const expectStop = [&](ImagePtr const& pSource, ImagePtr const& pTarget) {
        vlUInt64 const nbBefore = getStorage().getNbVisits();
        processor::ActionResult const result = runCopy(pSource, pTarget, makeLocal(1));
        EXPECT_NE(result.getStatus(), 0U);
        EXPECT_EQ(result.getMessage(), "plane 3 is gone");
        EXPECT_EQ(getStorage().getNbVisits() - nbBefore, 4U);
    };
    ImagePtr const pTarget = makeOther(eIK_Memory);
    expectStop(pDisk, pTarget);
    Bytes expected(pattern.size());
    std::copy(pattern.begin(), pattern.begin() + 45, expected.begin());
    EXPECT_EQ(readAll(*pTarget), expected);
    for (eImageKind const kind : {eIK_Memory, eIK_Disk, eIK_Distributed}) {
        expectStop(makeOther(kind), pDisk);
    }
}

TEST_F(FailingCopy, ReturnsTheTextOfTheFirstPlaneThatFailsUnderEveryPolicy) {
    getStorage().readGate = refuseFromPlane3;
    for (eImageKind const kind : {eIK_Memory, eIK_Disk}) {
        for (NamedPolicy const& policy : makePolicies()) {
            processor::ActionResult const result = runCopy(pDisk, makeOther(kind), policy.policy);
            EXPECT_NE(result.getStatus(), 0U) << policy.name;
            EXPECT_EQ(result.getMessage(), "plane 3 is gone") << policy.name;
        }
    }
}

TEST_F(FailingCopy, BeginsNoFurtherPlaneAfterAFailure) {
    getStorage().readGate = [](PixelRun const&) { return failure("no plane at all"); };
    EXPECT_EQ(runCopy(pDisk, makeOther(eIK_Memory), makeLocal(4)).getMessage(), "no plane at all");
    EXPECT_LE(getStorage().getNbVisits(), 4U);
}

TEST_F(FailingCopy, AnExceptionOfTheAccessorComesOutOfTheRunWithItsType) {
    getStorage().readGate = [](PixelRun const&) -> BoolResult { throw std::domain_error("torn"); };
    for (eImageKind const kind : {eIK_Memory, eIK_Disk, eIK_Distributed}) {
        for (NamedPolicy const& policy : makePolicies()) {
            EXPECT_EQ(thrownText<std::domain_error>([&] { runCopy(pDisk, makeOther(kind), policy.policy); }),
                      "torn")
                << policy.name;
        }
    }
}

TEST_F(FailingCopy, AnExceptionOnAWorkerThreadComesOutOfTheRunWithItsType) {
    std::thread::id const caller = std::this_thread::get_id();
    std::atomic<bool> bThrown{false};
    getStorage().readGate = [&](PixelRun const&) -> BoolResult {
        if (std::this_thread::get_id() != caller) {
            bThrown = true;
            throw std::domain_error("torn on a worker");
        }
        return waitUntil([&] { return bThrown.load(); }) ? success() : failure("no worker came");
    };
    EXPECT_EQ(thrownText<std::domain_error>([&] { runCopy(pDisk, makeOther(eIK_Memory), makeLocal(2)); }),
              "torn on a worker");
}

TEST(EmptyCopy, ImagesWithoutBytesAreCopiedWithoutAWalkOverTheirPlanes) {
    DynamicRegistrator<ByteAccessor> const registrator;
    constexpr vlUInt64 absurd = vlUInt64{1} << 40U;
    ImageGeometryPtr const geometries[] = {
        GeometryBuilder().plane(0, 3).build(),
        GeometryBuilder().volume(0).build(),
        GeometryBuilder().plane(0, absurd).volume(absurd).build(),
        GeometryBuilder().plane(absurd, 0).sequence(absurd).build(),
        GeometryBuilder().plane(0, 0).channels(absurd).build(),
        GeometryBuilder().plane(1, 1).volume(absurd).type(eIBT_None).build()};
    for (ImageGeometryPtr const& pGeometry : geometries) {
        for (KindPair const& pair : makeKindPairs()) {
            for (NamedPolicy const& policy : makePolicies()) {
                SCOPED_TRACE(toText(pair) + " with " + policy.name +
                             " x=" + std::to_string(pGeometry->getSizeX()) +
                             " z=" + std::to_string(pGeometry->getSizeZ()));
                ImagePtr const pSource = makeImage(pair.source, *pGeometry, "empty source");
                ImagePtr const pTarget = makeImage(pair.target, *pGeometry, "empty target");
                std::shared_ptr<ByteStorage> const pStorage = ByteStorage::open("empty source");
                ByteStorage* const pVisited = pStorage.get();
                pStorage->readGate = [pVisited](PixelRun const&) {
                    return pVisited->getNbVisits() > 1000 ? failure("too many reads of nothing") : success();
                };
                processor::ActionResult const result = runCopy(pSource, pTarget, policy.policy);
                EXPECT_EQ(result.getStatus(), 0U) << result.getMessage();
            }
        }
    }
}

namespace {

/// A filled disk image of 20 planes, to be copied under the default policy.
class DefaultCopyFromDisk : public testing::Test {
  protected:
    DefaultCopyFromDisk() {
        policy.initDefault();
        writeAll(*pDisk, pattern);
    }
    DistributedImagePtr makeTarget(DistributionEnginePtr const& pEngine) const {
        auto const pTarget = boost::make_shared<DistributedImage>(pEngine);
        EXPECT_TRUE(pTarget->init(*pGeometry));
        return pTarget;
    }
    std::string makeRecord() const {
        std::ostringstream record;
        BinaryOArchive archive(record);
        archive.writeObject("accessor", pAccessor);
        return record.str();
    }

    ImageGeometryPtr const pGeometry =
        GeometryBuilder().volume(10).sequence(2).types({eIBT_UInt8, eIBT_Int16}).build();
    Bytes const pattern = makePattern(15 * 10 * 3);
    boost::shared_ptr<ByteAccessor> const pAccessor = makeByteAccessor("default source", *pGeometry);
    ImagePtr const pDisk = boost::make_shared<DiskImage>(pAccessor);
    processor::ProcessorDispatchPolicy policy;
};

} // namespace

TEST_F(DefaultCopyFromDisk, SendsTheRecordOfARegisteredAccessorToTheWorkersWhichRebuildIt) {
    DynamicRegistrator<ByteAccessor> const registrator;
    auto const pEngine = boost::make_shared<CountingEngine>(3);
    vlUInt64 const nbBefore = pAccessor->getStorage().getNbVisits();
    EXPECT_EQ(runCopy(pDisk, makeTarget(pEngine), policy).getStatus(), 0U);
    for (vlUInt64 index = 0; index < 3; ++index) {
        EXPECT_EQ(pEngine->getCountingOwner(index).getFillRecord(), makeRecord());
    }
    EXPECT_EQ(pAccessor->getStorage().getNbVisits(), nbBefore);
    for (vlUInt64 const nbOwners : {1UL, 2UL, 3UL, 8UL, 50UL}) {
        auto const pTarget = makeTarget(createThreadDistributionEngine(nbOwners));
        EXPECT_EQ(runCopy(pDisk, pTarget, policy).getStatus(), 0U);
        EXPECT_EQ(readAll(*pTarget), pattern) << nbOwners;
    }
}

TEST_F(DefaultCopyFromDisk, EachWorkerRestoresTheAccessorOnceForAllOfItsBlocks) {
    DynamicRegistrator<ByteAccessor> const registrator;
    for (vlUInt64 const nbOwners : {1UL, 2UL, 3UL}) {
        auto const pTarget = makeTarget(createThreadDistributionEngine(nbOwners));
        vlUInt64 const nbBefore = pAccessor->getStorage().nbRestored;
        EXPECT_EQ(runCopy(pDisk, pTarget, policy).getStatus(), 0U);
        EXPECT_EQ(pAccessor->getStorage().nbRestored - nbBefore, nbOwners);
        EXPECT_EQ(runCopy(pDisk, pTarget, policy).getStatus(), 0U); // nothing is kept between two runs
        EXPECT_EQ(pAccessor->getStorage().nbRestored - nbBefore, 2 * nbOwners);
    }
}

TEST_F(DefaultCopyFromDisk, OfAnAccessorThatIsNotRegisteredIsAnOrdinaryCopy) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    auto const pEngine = boost::make_shared<CountingEngine>(3);
    auto const pTarget = makeTarget(pEngine);
    EXPECT_EQ(runCopy(pDisk, pTarget, policy).getMessage(), "");
    EXPECT_EQ(readAll(*pTarget), pattern);
    EXPECT_EQ(pEngine->getCountingOwner(0).getFillRecord(), "");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(DefaultCopyFromDisk, OfAJoinedImageWithAPartThatIsNotRegisteredIsAnOrdinaryCopy) {
    DiskImagePtr pJoined;
    ASSERT_TRUE(SubImageExtractor::concatenateDiskSequences({pDisk, pDisk}, pJoined));
    EXPECT_FALSE(pJoined->getAccessor()->canBeRebuilt());
    ImagePtr const pTarget = makeImage(eIK_Distributed, pJoined->getGeometry(), "");
    EXPECT_EQ(runCopy(pJoined, pTarget, policy).getMessage(), "");
    EXPECT_EQ(readAll(*pTarget), readAll(*pJoined));
    DynamicRegistrator<ByteAccessor> const registrator;
    EXPECT_TRUE(pJoined->getAccessor()->canBeRebuilt());
}

TEST_F(DefaultCopyFromDisk, ReturnsTheTextOfAFailureWithWorkersAndWithout) {
    pAccessor->getStorage().readGate = [](PixelRun const& run) {
        return run.t == 1 && run.z == 4 ? failure("one plane is gone") : success();
    };
    ImagePtr const pTarget = makeImage(eIK_Distributed, *pGeometry, "");
    EXPECT_EQ(runCopy(pDisk, pTarget, policy).getMessage(), "one plane is gone");
    DynamicRegistrator<ByteAccessor> const registrator;
    processor::ActionResult const result = runCopy(pDisk, pTarget, policy);
    EXPECT_NE(result.getStatus(), 0U);
    EXPECT_EQ(result.getMessage(), "one plane is gone");
}

TEST_F(DefaultCopyFromDisk, AWorkerThatCannotRebuildItsAccessorReturnsTheTextAndOneThatDoesNotKnowItThrows) {
    std::string const record = makeRecord();
    auto const pTarget = makeTarget(createThreadDistributionEngine(1));
    CapturedLog const log(log4cplus::Logger::getRoot());
    EXPECT_EQ(thrownText<VELMOSerializationException>([&] { pTarget->fillFromAccessor(record); }),
              "The archive holds an object of the unknown class velmo::test::ByteAccessor");
    EXPECT_EQ(log.getRecords().size(), 1U);
    DynamicRegistrator<ByteAccessor> const registrator;
    EXPECT_THAT(pTarget->fillFromAccessor(record.substr(0, record.size() - 1)).getMessage(),
                testing::StartsWith("The archive ends inside of item "));
    EXPECT_EQ(log.getRecords().size(), 1U);
}
