// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelPattern.h"
#include "ResampleTools.h"
#include "VELMOImage/GeometricCalibration.h"
#include "VELMOImage/MemoryImage.h"

#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::Pointwise;

namespace {

Column resampleReals(Column const& values, std::vector<float> const& steps, eInterpolationPolicy policy,
                     unsigned long sizeZ) {
    return getColumn(*resample(makeColumn(eIBT_Real32, values), steps, policy, sizeZ));
}

} // namespace

TEST(Resampling, AFewColumnsWrittenOut) {
    struct {
        Column values;
        std::vector<float> steps;
        eInterpolationPolicy policy;
        Column result;
    } const cases[] = {
        // Positions 0 2 6; the result lies at 0 1 2 3 4 5 6.
        {{10, 20, 30}, {2, 4}, eIP_Nearest, {10, 10, 20, 20, 20, 30, 30}},
        {{10, 20, 40}, {2, 4}, eIP_Linear, {10, 15, 20, 25, 30, 35, 40}},
        {{0, 8, 0}, {1, 1}, eIP_Linear, {0, 4, 8, 4, 0}},
        // Even planes: half way -1/16, 9/16, 9/16, -1/16 inside; at the ends 7/16, 10/16, -1/16.
        {{0, 0, 16, 16}, {1, 1, 1}, eIP_Cubic, {0, -1, 0, 8, 16, 17, 16}},
        {{1, 9}, {0.5F}, eIP_Nearest, {1, 1, 1, 9, 9}},
        {{1, 9}, {0.5F}, eIP_Linear, {1, 3, 5, 7, 9}},
        {{1, 9}, {0.5F}, eIP_Cubic, {1, 3, 5, 7, 9}},
        // Ten times the positions, which come back even.
        {{0, 10, 40, 60}, {1, 3, 2}, eIP_Linear, {0, 10, 20, 30, 40, 50, 60}}};
    for (auto const& entry : cases) {
        EXPECT_EQ(resampleReals(entry.values, entry.steps, entry.policy, entry.result.size()), entry.result);
    }
    for (auto const policy : g_policies) {
        EXPECT_THAT(resampleReals({7}, {}, policy, 3), ElementsAre(7, 7, 7));
        EXPECT_THAT(resampleReals({7}, {}, policy, 1), ElementsAre(7));
        EXPECT_THAT(resampleReals({7, 8, 9}, {1, 5}, policy, 1), ElementsAre(7));
        EXPECT_THAT(resampleReals({7, 8, 9}, {1, 5}, policy, 2), ElementsAre(7, 9));
    }
}

TEST(Resampling, EvenStepsAndAsManyPlanesCopyTheImage) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        if (findPlaneOfOtherType(*kind.pGeometry)) {
            continue;
        }
        ImagePtr const pSource = makeNoise(*kind.pGeometry);
        vlUInt64 const sizeZ = kind.pGeometry->getSizeZ();
        for (auto const policy : g_policies) {
            for (float const step : {1.0F, 0.1F}) {
                ImagePtr const pResult =
                    resample(pSource, std::vector<float>(sizeZ - 1, step), policy, sizeZ);
                EXPECT_TRUE(readAll(*pResult) == readAll(*pSource)) << kind.name << " policy " << policy;
            }
        }
    }
}

TEST(Resampling, UnevenStepsFollowThePlainInterpolation) {
    Column const values = {3, 250, 17, 90, 91, 4, 130};
    std::vector<float> const steps = {0.1F, 2, 0.7F, 5, 0.3F, 1};
    for (auto const policy : g_policies) {
        for (unsigned long const sizeZ : {1UL, 2UL, 3UL, 4UL, 7UL, 8UL, 64UL, 501UL}) {
            EXPECT_THAT(resampleReals(values, steps, policy, sizeZ),
                        Pointwise(DoubleNear(1e-4), resampleColumn(values, steps, policy, sizeZ)))
                << "policy " << policy << " size " << sizeZ;
        }
    }
}

TEST(Resampling, LinearIsTheOneWithoutAPolicy) {
    imaproc::gtrans::ResampleCustomZStack3dImgLvl1 processor;
    processor.init(velmo::processor::ePRP_Strict);
    processor.set<InImg3d>(makeColumn(eIBT_Real32, {1, 5}));
    processor.set<InZSteps>(makeZSteps({1}));
    processor.set<InOutputImg3dZSize>(3);
    EXPECT_EQ(processor.run(velmo::processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_THAT(getColumn(*processor.getStorage<OutImg>()), ElementsAre(1, 3, 5));
}

TEST(Resampling, EveryPixelChannelAndTimeStepIsResampledByItself) {
    ImagePtr const pSource =
        makeNoise(*GeometryBuilder().volume(4).channels(3).sequence(2).type(eIBT_Int16).build());
    std::vector<float> const steps = {1, 2, 1};
    for (auto const policy : g_policies) {
        ImagePtr const pResult = resample(pSource, steps, policy, 9);
        for (vlUInt64 t = 0; t < 2; ++t) {
            for (vlUInt64 c = 0; c < 3; ++c) {
                for (vlUInt64 pixel = 0; pixel < 15; ++pixel) {
                    Column const plain = resampleColumn(getColumn(*pSource, c, t, pixel), steps, policy, 9);
                    Column limited;
                    for (double const value : plain) {
                        limited.push_back(std::min(32767.0, std::max(-32768.0, value)));
                    }
                    EXPECT_THAT(getColumn(*pResult, c, t, pixel), Pointwise(DoubleNear(0.501), limited));
                }
            }
        }
    }
}

TEST(Resampling, TheResultHasTheGeometryOfTheInputWithTheOtherSizeZ) {
    GeometryBuilder builder;
    builder.color(eCGT_Rgb).sequence(2).type(eIBT_UInt16);
    ImagePtr const pSource = makeNoise(*builder.volume(3).build());
    Bytes const before = readAll(*pSource);
    pSource->setUserPropertiesStr("text");
    ImagePtr const pResult = resample(pSource, {1, 1}, eIP_Cubic, 11);
    EXPECT_EQ(describe(pResult->getGeometry()), describe(*builder.volume(11).build()));
    EXPECT_NE(dynamic_cast<MemoryImage const*>(pResult.get()), nullptr);
    EXPECT_EQ(pResult->getUserPropertiesStr(), "");
    EXPECT_TRUE(readAll(*pSource) == before);
    EXPECT_EQ(describe(resample(makeNoise(*GeometryBuilder().build()), {}, eIP_Linear, 2)->getGeometry()),
              describe(*GeometryBuilder().volume(2).build()));
}

namespace {

void expectTimeStepsOfTypes(vlUInt64 sizeX) {
    GeometryBuilder builder;
    builder.plane(sizeX, 1).sequence(4).types({eIBT_UInt8, eIBT_Real32, eIBT_None, eIBT_Label8});
    ImagePtr const pSource = makeNoise(*builder.volume(2).build());
    for (vlUInt64 const t : {0U, 1U, 3U}) {
        setPixel(*pSource, 0, 0, t, sizeX - 1, 10);
        setPixel(*pSource, 1, 0, t, sizeX - 1, 13);
    }
    ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 3);
    EXPECT_EQ(describe(pResult->getGeometry()), describe(*builder.volume(3).build()));
    EXPECT_THAT(getColumn(*pResult, 0, 0, sizeX - 1), ElementsAre(10, 12, 13));
    EXPECT_THAT(getColumn(*pResult, 0, 1, sizeX - 1), ElementsAre(10, 11.5, 13));
    EXPECT_THAT(getColumn(*pResult, 0, 3, sizeX - 1), ElementsAre(10, 10, 13));
}

} // namespace

TEST(Resampling, TimeStepsOfDifferentTypesKeepThemAlsoWhereTheyBeginAtAnyByte) {
    expectTimeStepsOfTypes(4);
    expectTimeStepsOfTypes(1);
}

TEST(Resampling, AVolumeWithTheSameTypeForEachPlaneHasThatType) {
    auto const pGeometry = GeometryBuilder().plane(1, 1).volume(2).types({eIBT_UInt8, eIBT_UInt8}).build();
    ImagePtr const pSource = makeNoise(*pGeometry);
    setPixel(*pSource, 0, 0, 0, 0, 10);
    setPixel(*pSource, 1, 0, 0, 0, 20);
    ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 3);
    EXPECT_EQ(describe(pResult->getGeometry()), describe(*GeometryBuilder().plane(1, 1).volume(3).build()));
    EXPECT_THAT(getColumn(*pResult), ElementsAre(10, 15, 20));
}

TEST(Resampling, ImagesWithoutPixelsStayWithoutPixels) {
    for (GeometryBuilder const& builder :
         {GeometryBuilder().plane(0, 3), GeometryBuilder().sequence(0), GeometryBuilder().channels(0),
          GeometryBuilder().type(eIBT_None)}) {
        ImagePtr const pSource = makeNoise(*GeometryBuilder(builder).volume(3).build());
        ImagePtr const pResult = resample(pSource, {1, 1}, eIP_Cubic, vlUInt64{1} << 40U);
        EXPECT_EQ(describe(pResult->getGeometry()),
                  describe(*GeometryBuilder(builder).volume(vlUInt64{1} << 40U).build()));
    }
}

TEST(Resampling, TheCalibrationIsKept) {
    ImagePtr const pSource = makeNoise(*GeometryBuilder().volume(2).build());
    EXPECT_FALSE(resample(pSource, {1}, eIP_Linear, 2)->hasGeometricCalibration());
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    pSource->setGeometricCalibration(pCalibration);
    EXPECT_EQ(resample(pSource, {1}, eIP_Linear, 2)->getGeometricCalibrationConstPtr(), pCalibration);
}

TEST(Resampling, AnEvenStackOfOneValueHasItEverywhere) {
    for (auto const policy : g_policies) {
        EXPECT_THAT(resampleReals(Column(5, 0.1F), {0.3F, 7, 0.01F, 2}, policy, 99),
                    Each(static_cast<double>(0.1F)));
    }
}

} // namespace velmo::test
