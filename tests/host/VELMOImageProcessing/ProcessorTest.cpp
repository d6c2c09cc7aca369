// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CopyTools.h"
#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"

#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::processor;
using namespace velmo::test;
using velmo::imaproc::attr::InImg;
using velmo::imaproc::attr::OutImg;
using velmo::imaproc::util::CopyImgLvl1;

namespace {

ImagePtr makeMemoryImage(GeometryBuilder const& builder) {
    return makeImage(eIK_Memory, *builder.build(), "");
}

} // namespace

TEST(ProcessorDispatchPolicy, IsTheCallingThreadAtFirstThenAsManyThreadsAsItIsToldOrOneForEachProcessor) {
    ProcessorDispatchPolicy policy;
    EXPECT_FALSE(policy.isDefault());
    EXPECT_EQ(policy.getNbThreads(), 1U);
    for (vlUInt64 const nbThreads : {0UL, 1UL, 4UL, 1000UL}) {
        policy.initDefault();
        EXPECT_TRUE(policy.isDefault());
        EXPECT_EQ(policy.getNbThreads(), std::max(1U, std::thread::hardware_concurrency()));
        policy.initLocal(nbThreads);
        EXPECT_FALSE(policy.isDefault());
        EXPECT_EQ(policy.getNbThreads(), std::max(1UL, nbThreads));
    }
}

TEST(Processor, TakesNoValueBeforeItsInitAndNoEmptyImage) {
    CopyImgLvl1 copy;
    ImagePtr const pImage = makeMemoryImage(GeometryBuilder());
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.set<InImg>(pImage); }),
              "Processor CopyImgLvl1 takes no value for InImg before its init");
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.set<OutImg>(pImage); }),
              "Processor CopyImgLvl1 takes no value for OutImg before its init");
    EXPECT_TRUE(copy.init(ePRP_Strict));
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.set<InImg>(ImageConstPtr()); }),
              "Processor CopyImgLvl1 needs a value for InImg");
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.set<OutImg>(ImagePtr()); }),
              "Processor CopyImgLvl1 needs a value for OutImg");
}

TEST(Processor, DoesNotRunWithoutItsImages) {
    ImagePtr const pImage = makeMemoryImage(GeometryBuilder());
    CopyImgLvl1 copy;
    EXPECT_THROW(copy.run(eST_Synchronous), VELMOBaseProcessingException);
    copy.init(ePRP_Strict);
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.run(eST_Synchronous); }),
              "Processor CopyImgLvl1 needs a value for InImg");
    copy.set<InImg>(pImage);
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.run(eST_Synchronous); }),
              "Processor CopyImgLvl1 needs a value for OutImg");
    copy.set<OutImg>(makeMemoryImage(GeometryBuilder()));
    EXPECT_EQ(copy.run(eST_Synchronous).getStatus(), 0U);
    copy.init(ePRP_Strict); // forgets them
    EXPECT_THROW(copy.run(eST_Synchronous), VELMOBaseProcessingException);
    copy.set<OutImg>(makeMemoryImage(GeometryBuilder().volume(9)));
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { copy.set<InImg>(pImage); }),
              "The pixels of OutImg (x=5 y=3 z=9 c=1 t=1 eIBT_UInt8) do not fit those of InImg (x=5 y=3 z=1 "
              "c=1 t=1 eIBT_UInt8)");
}

TEST(Processor, RefusesAnImageThatDiffersInOneDimensionOrInThePixelType) {
    auto const base = [] { return GeometryBuilder().plane(5, 3).volume(4).channels(3).sequence(2); };
    struct Row {
        char const* difference;
        GeometryBuilder builder;
    };
    Row const rows[] = {{"X", base().plane(6, 3)},
                        {"Y", base().plane(5, 4)},
                        {"Z", base().volume(5)},
                        {"C", base().channels(2)},
                        {"T", base().sequence(3)},
                        {"type", base().type(eIBT_Int8)},
                        {"same size", base().type(eIBT_Binary)},
                        {"one step", base().types({eIBT_UInt8, eIBT_Int8})},
                        {"swapped", base().plane(3, 5)}};
    ImagePtr const pImage = makeMemoryImage(base());
    for (Row const& row : rows) {
        SCOPED_TRACE(row.difference);
        ImagePtr const pOther = makeMemoryImage(row.builder);
        CopyImgLvl1 copy;
        copy.init(ePRP_Strict);
        copy.set<InImg>(pImage);
        EXPECT_THROW(copy.set<OutImg>(pOther), VELMOBaseProcessingException);
        copy.set<OutImg>(makeMemoryImage(base()));
        EXPECT_THROW(copy.set<InImg>(pOther), VELMOBaseProcessingException);
        EXPECT_EQ(copy.run(eST_Synchronous).getStatus(), 0U);
    }
}

TEST(Processor, TakesImagesOfEqualPixelsWhateverTheClassesOfTheirGeometries) {
    ImagePtr const pOne = makeMemoryImage(GeometryBuilder().sequence(2).type(eIBT_Real32));
    ImagePtr const pEach = makeMemoryImage(GeometryBuilder().sequence(2).types({eIBT_Real32, eIBT_Real32}));
    Bytes const pattern = makePattern(15 * 4 * 2);
    writeAll(*pOne, pattern);
    EXPECT_EQ(runCopy(pOne, pEach, makeLocal(1)).getStatus(), 0U);
    EXPECT_EQ(readAll(*pEach), pattern);
    EXPECT_EQ(runCopy(pEach, pOne, makeLocal(1)).getStatus(), 0U);
    ImagePtr const pVolume = makeMemoryImage(GeometryBuilder().volume(1).color(eCGT_HSV));
    ImagePtr const pPlane = makeMemoryImage(GeometryBuilder().color(eCGT_Rgb));
    EXPECT_EQ(runCopy(pVolume, pPlane, makeLocal(1)).getStatus(), 0U);
}
