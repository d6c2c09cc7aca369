// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The copy's result as a value of the processor, and copies of joined images.

#include "CopyTools.h"
#include "JoinTools.h"
#include "ThrownText.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOSerialization/DynamicRegistrator.h"

#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;
using velmo::imaproc::attr::InImg;
using velmo::imaproc::attr::OutImg;
using velmo::imaproc::util::CopyImgLvl1;

namespace {

/// Parts of one call, along T of 1, 4 and 2 bytes a pixel.
std::vector<ImagePtr> makePartsFor(eJoinAxis axis) {
    if (axis == eJoinAxis::Z) {
        return makeParts(axis, {2, 1, 3});
    }
    return {makeDiskPart(*GeometryBuilder().volume(2).build(), 1),
            makeDiskPart(*GeometryBuilder().volume(2).type(eIBT_Real32).sequence(2).build(), 2),
            makeDiskPart(*GeometryBuilder().volume(2).type(eIBT_Label16).build(), 3)};
}

} // namespace

TEST(CopyStorage, IsEmptyWithoutAnOutput) {
    CopyImgLvl1 copy;
    EXPECT_FALSE(copy.getStorage<OutImg>());
    copy.init(processor::ePRP_Strict);
    EXPECT_FALSE(copy.getStorage<OutImg>());
    copy.set<InImg>(makeImage(eIK_Memory, *GeometryBuilder().build(), ""));
    EXPECT_FALSE(copy.getStorage<OutImg>());
}

TEST(CopyStorage, IsTheImageThatWasSetBeforeAndAfterTheRun) {
    ImagePtr const pSource = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    ImagePtr const pTarget = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    writeAll(*pSource, makePattern(15));
    CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<InImg>(pSource);
    copy.set<OutImg>(pTarget);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
    EXPECT_EQ(readAll(*copy.getStorage<OutImg>()), makePattern(15));
}

TEST(CopyStorage, IsTheImageThatWasSetAfterAFailedRunToo) {
    ImagePtr const pSource = makeImage(eIK_Disk, *GeometryBuilder().build(), "fails to be read");
    ImagePtr const pTarget = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    ByteStorage::open("fails to be read")->readGate = [](PixelRun const&) { return failure("gone"); };
    CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<InImg>(pSource);
    copy.set<OutImg>(pTarget);
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getMessage(), "gone");
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
}

TEST(CopyStorage, KeepsTheImageBeforeOneThatIsRefused) {
    ImagePtr const pTarget = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<InImg>(makeImage(eIK_Memory, *GeometryBuilder().build(), ""));
    copy.set<OutImg>(pTarget);
    EXPECT_THROW(copy.set<OutImg>(makeImage(eIK_Memory, *GeometryBuilder().volume(2).build(), "")),
                 processor::VELMOBaseProcessingException);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
}

TEST(CopyStorage, IsForgottenByInit) {
    CopyImgLvl1 copy;
    copy.init(processor::ePRP_Strict);
    copy.set<OutImg>(makeImage(eIK_Memory, *GeometryBuilder().build(), ""));
    copy.init(processor::ePRP_Strict);
    EXPECT_FALSE(copy.getStorage<OutImg>());
}

TEST(CopyJoined, EveryJoinIsCopiedToEveryKindOfImageUnderEveryPolicy) {
    DynamicRegistrator<ByteAccessor> const registrator;
    for (JoinCall const& call : getJoinCalls()) {
        std::vector<ImagePtr> const parts = makePartsFor(call.axis);
        ImagePtr pWhole;
        ASSERT_TRUE(call.join(parts, pWhole));
        Bytes const expected = readParts(parts, call.axis);
        for (eImageKind const kind : {eIK_Memory, eIK_Disk, eIK_Distributed}) {
            for (NamedPolicy const& policy : makePolicies()) {
                SCOPED_TRACE(call.name + " to kind " + std::to_string(kind) + " with " + policy.name);
                ImagePtr const pTarget = makeImage(kind, pWhole->getGeometry(), "joined target");
                EXPECT_EQ(runCopy(pWhole, pTarget, policy.policy).getMessage(), "");
                EXPECT_TRUE(readAll(*pTarget) == expected);
            }
        }
    }
}

TEST(CopyJoined, AnImageIsCopiedIntoJoinedOnes) {
    for (JoinCall const& call : getJoinCalls()) {
        std::vector<ImagePtr> const parts = makePartsFor(call.axis);
        ImagePtr pWhole;
        ASSERT_TRUE(call.join(parts, pWhole));
        ImagePtr const pSource = makeImage(eIK_Memory, pWhole->getGeometry(), "");
        Bytes const pattern = makePattern(countBytes(pWhole->getGeometry()), 99);
        writeAll(*pSource, pattern);
        EXPECT_EQ(runCopy(pSource, pWhole, makeLocal(4)).getMessage(), "") << call.name;
        EXPECT_TRUE(readParts(parts, call.axis) == pattern) << call.name;
    }
}

TEST(CopyJoined, AFailureOfAPartStopsTheCopyWithItsText) {
    for (JoinCall const& call : getJoinCalls()) {
        std::vector<ImagePtr> const parts = makePartsFor(call.axis);
        getStorage(dynamic_cast<DiskImage const&>(*parts[1])).readGate = [](PixelRun const&) {
            return failure("the second disk is gone");
        };
        ImagePtr pWhole;
        ASSERT_TRUE(call.join(parts, pWhole));
        ImagePtr const pTarget = makeImage(eIK_Memory, pWhole->getGeometry(), "");
        EXPECT_EQ(runCopy(pWhole, pTarget, makeLocal(1)).getMessage(), "the second disk is gone")
            << call.name;
    }
}
