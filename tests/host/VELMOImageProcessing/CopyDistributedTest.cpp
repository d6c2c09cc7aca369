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

#include <gmock/gmock.h>
#include <sstream>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

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
