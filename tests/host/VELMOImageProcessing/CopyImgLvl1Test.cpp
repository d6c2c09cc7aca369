// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CopyTools.h"
#include "GeometryBuilder.h"
#include "Processes.h"
#include "VELMOSerialization/DynamicRegistrator.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

/// Copies between all pairs of kinds under all policies and compares every byte.
void expectCopies(BaseImageGeometry const& geometry) {
    DynamicRegistrator<ByteAccessor> const registrator;
    Bytes const pattern = makePattern(countBytes(geometry));
    for (KindPair const& pair : makeKindPairs()) {
        ImagePtr const pSource = makeImage(pair.source, geometry, "source");
        writeAll(*pSource, pattern);
        for (NamedPolicy const& policy : makePolicies()) {
            SCOPED_TRACE(toText(pair) + " with " + policy.name + " of " + describe(geometry));
            ImagePtr const pTarget = makeImage(pair.target, geometry, "target");
            processor::ActionResult const result = runCopy(pSource, pTarget, policy.policy);
            EXPECT_EQ(result.getStatus(), 0U);
            EXPECT_EQ(result.getMessage(), "");
            EXPECT_TRUE(readAll(*pTarget) == pattern);
        }
        EXPECT_TRUE(readAll(*pSource) == pattern) << toText(pair);
    }
}

} // namespace

TEST(CopyImgLvl1, ReadsAHugeRowInPartsOfAtMostFourMebibytes) {
    ImageGeometryPtr const pGeometry =
        GeometryBuilder().plane((vlUInt64{5} << 20U) + 1, 1).type(eIBT_Real32).build();
    ImagePtr const pSource = makeImage(eIK_Disk, *pGeometry, "huge row");
    ImagePtr const pTarget = makeImage(eIK_Disk, *pGeometry, "its copy");
    std::vector<vlUInt64> runs;
    ByteStorage::open("huge row")->readGate = [&](PixelRun const& run) {
        runs.push_back(run.nbPixels);
        return success();
    };
    EXPECT_EQ(runCopy(pSource, pTarget, makeLocal(1)).getStatus(), 0U);
    vlUInt64 const part = vlUInt64{1} << 20U;
    EXPECT_THAT(runs, testing::ElementsAre(part, part, part, part, part, 1U));
}

TEST(CopyImgLvl1, CopiesEveryKindOfGeometryAndOddSizesBetweenAllKindsOfImage) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        expectCopies(*kind.pGeometry);
    }
    expectCopies(*GeometryBuilder().plane(1, 1).build());
    expectCopies(*GeometryBuilder().plane(13, 7).volume(5).type(eIBT_Real32).build());
    expectCopies(*GeometryBuilder().plane(1, 17).volume(3).color(eCGT_Rgba).sequence(3).build());
    expectCopies(*GeometryBuilder()
                      .plane(13, 7)
                      .volume(5)
                      .channels(3)
                      .sequence(4)
                      .types({eIBT_UInt8, eIBT_Real32, eIBT_None, eIBT_Label16})
                      .build());
    expectCopies(*GeometryBuilder().volume(3).types({eIBT_Int16, eIBT_UInt8, eIBT_Real32}).build());
}

TEST(CopyImgLvl1, CopiesPlanesAndRowsLargerThanAUnitOfWorkBetweenAllKindsOfImage) {
    expectCopies(*GeometryBuilder().plane(1031, 1033).type(eIBT_Real32).build());
    expectCopies(*GeometryBuilder().plane((vlUInt64{1} << 20U) + 3, 1).type(eIBT_Real32).build());
    expectCopies(*GeometryBuilder().plane((vlUInt64{4} << 20U) + 3, 1).type(eIBT_UInt8).build());
}

TEST(CopyImgLvl1, ReadsAndWritesEachPixelOnce) {
    ImageGeometryPtr const pGeometry =
        GeometryBuilder().plane(1031, 1033).volume(3).type(eIBT_Real32).build();
    for (NamedPolicy const& policy : makePolicies()) {
        std::atomic<vlUInt64> nbRead{0};
        std::atomic<vlUInt64> nbWritten{0};
        ImagePtr const pSource = makeImage(eIK_Disk, *pGeometry, "read once");
        ImagePtr const pTarget = makeImage(eIK_Disk, *pGeometry, "written once");
        ByteStorage::open("read once")->readGate = [&](PixelRun const& run) {
            nbRead += run.nbPixels;
            return success();
        };
        ByteStorage::open("written once")->writeGate = [&](PixelRun const& run) {
            nbWritten += run.nbPixels;
            return success();
        };
        EXPECT_EQ(runCopy(pSource, pTarget, policy.policy).getStatus(), 0U);
        EXPECT_EQ(nbRead, 1031U * 1033 * 3) << policy.name;
        EXPECT_EQ(nbWritten, 1031U * 1033 * 3) << policy.name;
    }
}

TEST(CopyImgLvl1, WithOneLocalThreadEverythingHappensOnTheCallingThread) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(20).build();
    std::set<std::thread::id> const caller = {std::this_thread::get_id()};
    for (KindPair const& pair : makeKindPairs()) {
        SCOPED_TRACE(toText(pair));
        ImagePtr const pSource = makeImage(pair.source, *pGeometry, "own source");
        ImagePtr const pTarget = makeImage(pair.target, *pGeometry, "own target");
        EXPECT_EQ(runCopy(pSource, pTarget, makeLocal(1)).getStatus(), 0U);
        if (pair.source == eIK_Disk) {
            EXPECT_EQ(ByteStorage::open("own source")->getThreads(), caller);
        }
        if (pair.target == eIK_Disk) {
            EXPECT_EQ(ByteStorage::open("own target")->getThreads(), caller);
        }
    }
}

TEST(CopyImgLvl1, WithFourLocalThreadsFourWorkAtOnce) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(20).build();
    ImagePtr const pSource = makeImage(eIK_Disk, *pGeometry, "four");
    std::shared_ptr<ByteStorage> const pStorage = ByteStorage::open("four");
    pStorage->readGate = [&](PixelRun const&) {
        return waitUntil([&] { return pStorage->getThreads().size() == 4; }) ? success()
                                                                             : failure("fewer than four");
    };
    processor::ActionResult const result =
        runCopy(pSource, makeImage(eIK_Memory, *pGeometry, ""), makeLocal(4));
    EXPECT_EQ(result.getMessage(), "");
    EXPECT_EQ(pStorage->getThreads().size(), 4U);
    EXPECT_EQ(pStorage->getThreads().count(std::this_thread::get_id()), 1U);
    pStorage->readGate = nullptr; // it refers to the storage that holds it
}

TEST(CopyImgLvl1, ACountOfThreadsThatNoMachineHasIsCutToTheWorkAndTheTargetReplaced) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(3).build();
    ImagePtr const pSource = makeImage(eIK_Memory, *pGeometry, "");
    for (vlUInt64 const nbThreads : {vlUInt64{64}, NumericLimits<vlUInt64>::s_max}) {
        ImagePtr const pTarget = makeImage(eIK_Memory, *pGeometry, "");
        writeAll(*pTarget, makePattern(45));
        EXPECT_NO_THROW(runCopy(pSource, pTarget, makeLocal(nbThreads)));
        EXPECT_EQ(readAll(*pTarget), Bytes(45));
    }
}

TEST(CopyImgLvl1, SeveralCopiesOfOneImageRunAtOnce) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().plane(101, 53).volume(20).build();
    ImagePtr const pSource = makeImage(eIK_Disk, *pGeometry, "shared");
    Bytes const pattern = makePattern(countBytes(*pGeometry));
    writeAll(*pSource, pattern);
    onThreads(4, [&](unsigned int) {
        ImagePtr const pTarget = makeImage(eIK_Memory, *pGeometry, "");
        EXPECT_EQ(runCopy(pSource, pTarget, makeLocal(2)).getStatus(), 0U);
        EXPECT_TRUE(readAll(*pTarget) == pattern);
    });
}
