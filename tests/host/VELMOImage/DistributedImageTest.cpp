// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/DistributedImage.h"

#include "CountingEngine.h"
#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <mutex>
#include <random>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

constexpr vlUInt64 g_nbOwners[] = {1, 2, 3, 8};

/// Planes of all blocks, as (first plane, number) in the order of the planes.
std::vector<std::pair<vlUInt64, vlUInt64>> getPlaneRuns(CountingEngine const& engine) {
    std::vector<std::pair<vlUInt64, vlUInt64>> runs;
    for (vlUInt64 owner = 0; owner < engine.getNbOwners(); ++owner) {
        for (auto const& entry : engine.getCountingOwner(owner).getBlocks()) {
            runs.emplace_back(entry.second.planes.firstPlan, entry.second.planes.nbPlans);
        }
    }
    std::sort(runs.begin(), runs.end());
    return runs;
}

} // namespace

TEST(DistributedImage, PixelsOfEveryKindAreTheSameWhateverTheNumberOfWorkers) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        Bytes const pattern = makePattern(countBytes(*kind.pGeometry));
        for (vlUInt64 const nbOwners : g_nbOwners) {
            SCOPED_TRACE(kind.name + " on " + std::to_string(nbOwners));
            DistributedImage image(createThreadDistributionEngine(nbOwners));
            ASSERT_TRUE(image.init(*kind.pGeometry));
            EXPECT_EQ(readAll(image), Bytes(pattern.size()));
            writeAll(image, pattern);
            EXPECT_EQ(readAll(image), pattern);
        }
    }
}

TEST(DistributedImage, PixelsAreTheSameWhereverTheBordersOfTheBlocksLie) {
    for (vlUInt64 sizeZ = 1; sizeZ <= 70; ++sizeZ) {
        ImageGeometryPtr const pGeometry =
            GeometryBuilder().plane(2, 1).volume(sizeZ).sequence(2).types({eIBT_UInt8, eIBT_Int16}).build();
        Bytes const pattern = makePattern(countBytes(*pGeometry));
        for (vlUInt64 const nbOwners : g_nbOwners) {
            DistributedImage image(boost::make_shared<CountingEngine>(nbOwners));
            ASSERT_TRUE(image.init(*pGeometry));
            writeAll(image, pattern);
            EXPECT_EQ(readAll(image), pattern) << "z=" << sizeZ << " on " << nbOwners;
        }
    }
}

TEST(DistributedImage, BlocksCoverEachPlaneOnceAndEveryWorkerHasSome) {
    for (vlUInt64 const nbOwners : g_nbOwners) {
        auto const pEngine = boost::make_shared<CountingEngine>(nbOwners);
        DistributedImage image(pEngine);
        ASSERT_TRUE(image.init(*GeometryBuilder().volume(31).channels(3).build()));
        vlUInt64 nextPlane = 0;
        for (auto const& run : getPlaneRuns(*pEngine)) {
            EXPECT_EQ(run.first, nextPlane);
            EXPECT_GT(run.second, 0U);
            nextPlane += run.second;
        }
        EXPECT_EQ(nextPlane, 93U);
        for (vlUInt64 owner = 0; owner < nbOwners; ++owner) {
            EXPECT_FALSE(pEngine->getCountingOwner(owner).getBlocks().empty()) << owner;
        }
    }
}

TEST(DistributedImage, PartsOfRowsGoToTheirPlace) {
    ImageGeometryPtr const pGeometry =
        GeometryBuilder().volume(7).channels(2).sequence(2).types({eIBT_UInt16, eIBT_Real32}).build();
    Bytes expected = makePattern(countBytes(*pGeometry));
    DistributedImage image(createThreadDistributionEngine(3));
    ASSERT_TRUE(image.init(*pGeometry));
    writeAll(image, expected);
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        vlUInt64 const z = random() % 7;
        vlUInt64 const c = random() % 2;
        vlUInt64 const t = random() % 2;
        vlUInt64 const start = random() % 15;
        vlUInt64 const nbPixels = random() % (16 - start);
        vlUInt64 const pixelSize = t == 0 ? 2 : 4;
        Bytes const run = makePattern(nbPixels * pixelSize, random());
        ASSERT_TRUE(image.writePixels(z, c, t, start, nbPixels, run.data()));
        vlUInt64 const offset = countBytesBefore(*pGeometry, z, c, t) + start * pixelSize;
        std::copy(run.begin(), run.end(), expected.begin() + static_cast<std::ptrdiff_t>(offset));
        Bytes back(run.size());
        ASSERT_TRUE(image.readPixels(z, c, t, start, nbPixels, back.data()));
        EXPECT_EQ(back, run);
    }
    EXPECT_EQ(readAll(image), expected);
    Bytes buffer(100);
    EXPECT_THROW(image.readPixels(7, 0, 0, 0, 1, buffer.data()), VELMOImageException);
    EXPECT_THROW(image.writePixels(0, 0, 0, 14, 2, buffer.data()), VELMOImageException);
}

TEST(DistributedImage, RequiresACpuCopyThatHoldsAllThatTheImageHolds) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(5).sequence(2).type(eIBT_Int16).build();
    DistributedImage image(createThreadDistributionEngine(3));
    ASSERT_TRUE(image.init(*pGeometry));
    Bytes const pattern = makePattern(countBytes(*pGeometry));
    writeAll(image, pattern);
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    image.setGeometricCalibration(pCalibration);
    image.setUserPropertiesStr("key=value");
    EXPECT_TRUE(image.requiresCpuCopy());
    EXPECT_EQ(image.accessPlan(0, 0, 0), nullptr);
    ImageConstPtr const pCopy = image.createCpuCopy();
    EXPECT_FALSE(pCopy->requiresCpuCopy());
    EXPECT_EQ(describe(pCopy->getGeometry()), describe(*pGeometry));
    EXPECT_EQ(pCopy->getGeometricCalibrationConstPtr(), pCalibration);
    EXPECT_EQ(pCopy->getUserPropertiesStr(), "key=value");
    EXPECT_EQ(readAll(*pCopy), pattern);
}

TEST(DistributedImage, InitAgainReplacesTheBlocksAndTheEndGivesThemBack) {
    auto const pEngine = boost::make_shared<CountingEngine>(2);
    {
        DistributedImage other(pEngine);
        DistributedImage image(pEngine);
        ASSERT_TRUE(image.init(*GeometryBuilder().volume(20).build()));
        writeAll(image, makePattern(15 * 20));
        image.setGeometricCalibration(createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0));
        image.setUserPropertiesStr("key=value");
        vlUInt64 const nbFirst = pEngine->getNbAdded();
        ASSERT_TRUE(image.init(*GeometryBuilder().volume(3).build()));
        EXPECT_EQ(pEngine->getNbDropped(), nbFirst);
        EXPECT_EQ(readAll(image), Bytes(15 * 3));
        EXPECT_FALSE(image.hasGeometricCalibration());
        EXPECT_EQ(image.getUserPropertiesStr(), "");
        ASSERT_TRUE(other.init(*GeometryBuilder().volume(0).build())); // needs no blocks
        EXPECT_TRUE(readAll(other).empty());
        EXPECT_EQ(pEngine->getNbLiveBlocks(), pEngine->getNbAdded() - nbFirst);
    }
    EXPECT_EQ(pEngine->getNbLiveBlocks(), 0U);
    EXPECT_EQ(pEngine->getNbDropped(), pEngine->getNbAdded());
}

TEST(DistributedImage, AFailingInitGivesItsBlocksBackAndLeavesTheImageAsItWas) {
    auto const pEngine = boost::make_shared<CountingEngine>(2, 9);
    DistributedImage image(pEngine);
    ASSERT_TRUE(image.init(*GeometryBuilder().volume(8).build()));
    Bytes const pattern = makePattern(15 * 8);
    writeAll(image, pattern);
    EXPECT_EQ(image.init(*GeometryBuilder().volume(20).build()).getMessage(),
              "this engine gives no more blocks");
    EXPECT_EQ(pEngine->getNbDropped(), 1U);
    EXPECT_EQ(pEngine->getNbLiveBlocks(), 8U);
    EXPECT_EQ(image.getGeometry().getSizeZ(), 8U);
    EXPECT_EQ(readAll(image), pattern);
    DistributedImage never(boost::make_shared<CountingEngine>(2, 1));
    EXPECT_FALSE(never.init(*GeometryBuilder().volume(20).build()));
    EXPECT_THROW(never.getGeometry(), VELMOImageException);
}

TEST(DistributedImage, AsManyPlanesAs64BitsCountTakeAFewBlocks) {
    auto const pEngine = boost::make_shared<CountingEngine>(2, 1000);
    DistributedImage image(pEngine);
    BoolResult const result =
        image.init(*GeometryBuilder().plane(0, 1).volume(NumericLimits<vlUInt64>::s_max).build());
    EXPECT_TRUE(result) << result.getMessage();
    EXPECT_LE(pEngine->getNbAdded(), 8U);
}

TEST(DistributedImage, AfterAFailedBlockNoFurtherOneIsFilled) {
    auto const pEngine = boost::make_shared<CountingEngine>(1);
    DistributedImage image(pEngine);
    ASSERT_TRUE(image.init(*GeometryBuilder().volume(40).build()));
    pEngine->failToFill("the worker has lost its disk");
    BoolResult const result = image.fillFromAccessor("the record");
    EXPECT_EQ(result.getMessage(), "the worker has lost its disk");
    EXPECT_EQ(pEngine->getCountingOwner(0).getFilledIds().size(), 1U);
    EXPECT_EQ(DistributedImage(nullptr).fillFromAccessor("the record").getMessage(),
              "A distributed image needs a worker");
}

TEST(DistributedImage, EachWorkerIsAskedToFillItsOwnBlocksFromTheRecord) {
    auto const pEngine = boost::make_shared<CountingEngine>(3);
    DistributedImage image(pEngine);
    ASSERT_TRUE(image.init(*GeometryBuilder().volume(40).build()));
    EXPECT_TRUE(image.fillFromAccessor("the record"));
    for (vlUInt64 index = 0; index < 3; ++index) {
        CountingOwner const& owner = pEngine->getCountingOwner(index);
        EXPECT_EQ(owner.getFillRecord(), "the record");
        std::vector<vlUInt64> ids;
        for (auto const& entry : owner.getBlocks()) {
            ids.push_back(entry.first);
        }
        std::vector<vlUInt64> filled = owner.getFilledIds();
        std::sort(filled.begin(), filled.end());
        EXPECT_EQ(filled, ids);
    }
}

TEST(DistributedImage, WorkOnBlocksIsDoneOnceForEachPlaneAndEndsAfterAFailure) {
    DistributedImage image(createThreadDistributionEngine(3));
    ASSERT_TRUE(image.init(*GeometryBuilder().volume(40).build()));
    std::mutex mutex;
    std::vector<int> nbVisits(40);
    ASSERT_TRUE(image.forEachBlock([&](BaseBlockOwner& /*owner*/, PlanBlock const& block) {
        std::lock_guard<std::mutex> const lock(mutex);
        for (vlUInt64 plane = block.firstPlan; plane < block.firstPlan + block.nbPlans; ++plane) {
            ++nbVisits.at(plane);
        }
        return success();
    }));
    EXPECT_EQ(nbVisits, std::vector<int>(40, 1));
    int nbCalls = 0;
    DistributedImage ofOne(createThreadDistributionEngine(1));
    ASSERT_TRUE(ofOne.init(*GeometryBuilder().volume(40).build()));
    BoolResult const result = ofOne.forEachBlock([&](BaseBlockOwner& /*owner*/, PlanBlock const& block) {
        ++nbCalls;
        return block.firstPlan < 10 ? success() : failure("from plane " + std::to_string(block.firstPlan));
    });
    EXPECT_EQ(result.getMessage(), "from plane 10");
    EXPECT_EQ(nbCalls, 2);
    EXPECT_FALSE(DistributedImage(nullptr).forEachBlock(
        [](BaseBlockOwner& /*owner*/, PlanBlock const& /*block*/) { return success(); }));
}

TEST(DistributedImage, AWorkerOfThisProcessGivesAccessToTheBytesOfABlock) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(6).type(eIBT_Int16).build();
    DistributionEnginePtr const pEngine = createThreadDistributionEngine(1);
    BaseBlockOwner& owner = pEngine->getOwner(0);
    ASSERT_TRUE(owner.addBlock(*pGeometry, {7, 2, 3}));
    Bytes const pattern = makePattern(3 * 15 * 2);
    ASSERT_TRUE(owner.writeBlock(7, 0, pattern.size(), pattern.data()));
    BlockMemory const memory = owner.accessBlock(7);
    ASSERT_EQ(memory.nbBytes, pattern.size());
    owner.dropBlock(7); // the memory is co-owned
    EXPECT_TRUE(std::equal(pattern.begin(), pattern.end(), memory.pBytes.get()));
    EXPECT_EQ(owner.accessBlock(7).pBytes, nullptr);
    EXPECT_EQ(CountingEngine(1).getOwner(0).accessBlock(7).pBytes, nullptr);
}
