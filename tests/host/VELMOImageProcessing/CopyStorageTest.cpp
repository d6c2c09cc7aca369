// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The copy's result as a value of the processor, and copies of joined images.

#include "CapturedLog.h"
#include "CopyTools.h"
#include "FailingLog.h"
#include "JoinTools.h"
#include "ThrownText.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOSerialization/DynamicRegistrator.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <stdexcept>

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

char const* const g_noResult = "There is no OutImg, as processor CopyImgLvl1 did not run to its end";

std::string refusal(CopyImgLvl1 const& copy) {
    return thrownText<processor::VELMOBaseProcessingException>([&] { copy.getStorage<OutImg>(); });
}

/// A copy from a disk image, which may fail, into memory.
class ReadyCopy : public testing::Test {
  protected:
    ReadyCopy() {
        writeAll(*pSource, makePattern(15));
        prepare(copy);
    }

    void prepare(CopyImgLvl1& ready) const {
        ready.init(processor::ePRP_Strict);
        ready.set<InImg>(pSource);
        ready.set<OutImg>(pTarget);
    }
    boost::shared_ptr<CopyImgLvl1> makeCopy() const {
        auto const pCopy = boost::make_shared<CopyImgLvl1>();
        prepare(*pCopy);
        return pCopy;
    }

    ImagePtr const pSource = makeImage(eIK_Disk, *GeometryBuilder().build(), "may fail");
    std::shared_ptr<ByteStorage> const pStorage = ByteStorage::open("may fail");
    ImagePtr const pTarget = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    CopyImgLvl1 copy;
};

} // namespace

TEST(CopyStorage, ThereIsNoneWithoutARun) {
    CopyImgLvl1 copy;
    EXPECT_EQ(refusal(copy), g_noResult);
    copy.init(processor::ePRP_Strict);
    EXPECT_EQ(refusal(copy), g_noResult);
    copy.set<InImg>(makeImage(eIK_Memory, *GeometryBuilder().build(), ""));
    EXPECT_EQ(refusal(copy), g_noResult);
    copy.set<OutImg>(makeImage(eIK_Memory, *GeometryBuilder().build(), ""));
    EXPECT_EQ(refusal(copy), g_noResult);
}

TEST_F(ReadyCopy, OfAFailedRunIsRefusedWithItsText) {
    pStorage->readGate = [](PixelRun const&) { return failure("gone"); };
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getMessage(), "gone");
    EXPECT_EQ(refusal(copy), std::string(g_noResult) + "\ngone");
    pStorage->readGate = nullptr;
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
}

TEST_F(ReadyCopy, OfARunThatAnExceptionLeftIsRefused) {
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getStatus(), 0U);
    pStorage->readGate = [](PixelRun const&) -> BoolResult { throw std::domain_error("torn"); };
    EXPECT_THROW(copy.run(processor::eST_Synchronous), std::domain_error);
    EXPECT_EQ(refusal(copy), g_noResult);
}

TEST_F(ReadyCopy, IsTheImageThatWasSetBeforeARunToItsEnd) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
    EXPECT_EQ(readAll(*copy.getStorage<OutImg>()), makePattern(15));
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_THROW(copy.set<OutImg>(makeImage(eIK_Memory, *GeometryBuilder().volume(2).build(), "")),
                 processor::VELMOBaseProcessingException);
    EXPECT_EQ(copy.getStorage<OutImg>(), pTarget);
    ImagePtr const pOther = makeImage(eIK_Memory, *GeometryBuilder().build(), "");
    copy.set<OutImg>(pOther);
    EXPECT_EQ(refusal(copy), g_noResult);
    EXPECT_EQ(copy.run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_EQ(copy.getStorage<OutImg>(), pOther);
    copy.init(processor::ePRP_Strict);
    EXPECT_EQ(refusal(copy), g_noResult);
}

// A failed run that nobody asks about

TEST_F(ReadyCopy, ThatFailsIsLoggedOnceWhereNobodyAsks) {
    pStorage->readGate = [](PixelRun const&) { return failure("gone"); };
    CapturedLog const log(log4cplus::Logger::getRoot());
    copy.run(processor::eST_Synchronous);
    EXPECT_TRUE(log.getRecords().empty());
    copy.init(processor::ePRP_Strict);
    ASSERT_EQ(log.getRecords().size(), 1U);
    CapturedLog::Record const record = log.getRecords()[0];
    EXPECT_EQ(record.logger, processor::getVELMOBaseProcessingLogger().getName());
    EXPECT_EQ(record.level, log4cplus::WARN_LOG_LEVEL);
    EXPECT_EQ(record.message, "Processor CopyImgLvl1 failed, and its result was not looked at\ngone");
    EXPECT_THAT(record.file, testing::EndsWith("BaseProcessor.cpp"));
    {
        auto const pCopy = makeCopy();
        pCopy->run(processor::eST_Synchronous);
        pCopy->run(processor::eST_Synchronous);
        EXPECT_EQ(log.getRecords().size(), 2U); // with the next run
    }
    EXPECT_EQ(log.getRecords().size(), 3U); // and with the processor
    FailingLog const failing(processor::getVELMOBaseProcessingLogger(),
                             [] { throw std::runtime_error("the log is full"); });
    EXPECT_NO_THROW(makeCopy()->run(processor::eST_Synchronous));
}

TEST_F(ReadyCopy, ThatFailsIsNotLoggedWhereSomebodyAsksInAnyWay) {
    pStorage->readGate = [](PixelRun const&) { return failure("gone"); };
    CapturedLog const log(log4cplus::Logger::getRoot());
    EXPECT_NE(makeCopy()->run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_EQ(makeCopy()->run(processor::eST_Synchronous).getMessage(), "gone");
    processor::ActionResult const kept =
        makeCopy()->run(processor::eST_Synchronous); // outlives its processor
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_EQ(kept.getMessage(), "gone");
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(ReadyCopy, ThatFailsIsLoggedByTheRefusalOfItsImageAlone) {
    pStorage->readGate = [](PixelRun const&) { return failure("gone"); };
    CapturedLog const log(log4cplus::Logger::getRoot());
    {
        auto const pCopy = makeCopy();
        pCopy->run(processor::eST_Synchronous);
        refusal(*pCopy);
    }
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(log.getRecords()[0].message, std::string(g_noResult) + "\ngone");
}

TEST(ActionResult, OfNoRunIsNotLogged) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    processor::ActionResult(7, "made by hand");
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_EQ(processor::ActionResult(7, "made by hand").getStatus(), 7U);
    EXPECT_EQ(processor::ActionResult(7, "made by hand").getMessage(), "made by hand");
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
        ImagePtr const pOther = makeImage(eIK_Memory, pWhole->getGeometry(), "");
        Bytes const pattern = makePattern(countBytes(pWhole->getGeometry()), 99);
        writeAll(*pOther, pattern);
        EXPECT_EQ(runCopy(pOther, pWhole, makeLocal(4)).getMessage(), "") << call.name; // and back
        EXPECT_TRUE(readParts(parts, call.axis) == pattern) << call.name;
        getStorage(dynamic_cast<DiskImage const&>(*parts[1])).readGate = [](PixelRun const&) {
            return failure("the second disk is gone");
        };
        EXPECT_EQ(runCopy(pWhole, pOther, makeLocal(1)).getMessage(), "the second disk is gone") << call.name;
    }
}
