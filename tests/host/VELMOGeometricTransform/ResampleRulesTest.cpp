// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// What the processor refuses, when, and in which words.

#include "ResampleTools.h"
#include "ThrownText.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <limits>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;
using imaproc::gtrans::ResampleCustomZStack3dImgLvl1;
using processor::VELMOBaseProcessingException;
using testing::ElementsAre;

namespace {

constexpr char const* g_noResult =
    "There is no OutImg, as processor ResampleCustomZStack3dImgLvl1 did not run to its end";

class ResampleRules : public testing::Test {
  protected:
    ResampleRules() { _processor.init(processor::ePRP_Strict); }

    template <class Attribute>
    std::string refusal(typename Attribute::Value const& value) {
        return thrownText<VELMOBaseProcessingException>([&] { _processor.set<Attribute>(value); });
    }
    std::string resultRefusal() {
        return thrownText<VELMOBaseProcessingException>([&] { _processor.getStorage<OutImg>(); });
    }
    vlUInt64 run() { return _processor.run(processor::eST_Synchronous).getStatus(); }
    std::string runRefusal() {
        return thrownText<VELMOBaseProcessingException>([&] { run(); });
    }
    Column getResult() { return getColumn(*_processor.getStorage<OutImg>()); }

    ResampleCustomZStack3dImgLvl1 _processor;
    ImagePtr const _pThree = makeColumn(eIBT_Real32, {1, 2, 3});
};

/// A list of steps with one that is refused, and the words for it.
struct RefusedSteps {
    char const* name;
    std::vector<float> steps;
    char const* text;
};

void PrintTo(RefusedSteps const& refused, std::ostream* pStream) {
    *pStream << refused.name;
}

class RefusedStepsTest : public testing::TestWithParam<RefusedSteps> {};

} // namespace

TEST_F(ResampleRules, NoValueIsTakenBeforeInit) {
    ResampleCustomZStack3dImgLvl1 processor;
    auto const text = [](char const* attribute) {
        return "Processor ResampleCustomZStack3dImgLvl1 takes no value for " + std::string(attribute) +
               " before its init";
    };
    using Exception = VELMOBaseProcessingException;
    EXPECT_EQ(thrownText<Exception>([&] { processor.set<InImg3d>(_pThree); }), text("InImg3d"));
    EXPECT_EQ(thrownText<Exception>([&] { processor.set<InZSteps>(makeZSteps({1})); }), text("InZSteps"));
    EXPECT_EQ(thrownText<Exception>([&] { processor.set<InInterpolationPolicy>(eIP_Linear); }),
              text("InInterpolationPolicy"));
    EXPECT_EQ(thrownText<Exception>([&] { processor.set<InOutputImg3dZSize>(1); }),
              text("InOutputImg3dZSize"));
}

TEST_F(ResampleRules, PlanesOfDifferentTypesAreRefusedWithTheirPlace) {
    std::string const text = "InImg3d has planes of different pixel types: plane z=2 is of type eIBT_UInt16";
    auto const types = {eIBT_UInt8, eIBT_UInt8, eIBT_UInt16};
    ImagePtr const pMixed = makeNoise(*GeometryBuilder().volume(3).types(types).build());
    EXPECT_EQ(refusal<InImg3d>(pMixed), text);
    _processor.set<InZSteps>(makeZSteps({1, 1}));
    EXPECT_EQ(refusal<InImg3d>(pMixed), text);
}

TEST_F(ResampleRules, StepsMustBeOneFewerThanThePlanesInEitherOrder) {
    std::string const text = "InZSteps of 1 steps does not fit InImg3d of 3 planes";
    _processor.set<InImg3d>(_pThree);
    EXPECT_EQ(refusal<InZSteps>(makeZSteps({1})), text);
    EXPECT_EQ(refusal<InZSteps>(makeZSteps({1, 1, 1})),
              "InZSteps of 3 steps does not fit InImg3d of 3 planes");
    EXPECT_EQ(refusal<InZSteps>(makeZSteps({})), "InZSteps of 0 steps does not fit InImg3d of 3 planes");
    _processor.init(processor::ePRP_Strict);
    _processor.set<InImg3d>(makeColumn(eIBT_UInt8, {}));
    EXPECT_EQ(refusal<InZSteps>(makeZSteps({})), "InZSteps of 0 steps does not fit InImg3d of 0 planes");
    _processor.init(processor::ePRP_Strict);
    _processor.set<InZSteps>(makeZSteps({1}));
    EXPECT_EQ(refusal<InImg3d>(_pThree), text);
}

TEST_F(ResampleRules, AValueThatIsRefusedLeavesTheOneBefore) {
    _processor.set<InImg3d>(_pThree);
    _processor.set<InZSteps>(makeZSteps({1, 1}));
    _processor.set<InOutputImg3dZSize>(3);
    EXPECT_THROW(_processor.set<InImg3d>(makeColumn(eIBT_Real32, {7, 8})), VELMOBaseProcessingException);
    EXPECT_THROW(_processor.set<InImg3d>(ImageConstPtr()), VELMOBaseProcessingException);
    EXPECT_THROW(_processor.set<InZSteps>(makeZSteps({1, -1})), VELMOBaseProcessingException);
    EXPECT_THROW(_processor.set<InZSteps>(makeZSteps({1, 1, 1})), VELMOBaseProcessingException);
    EXPECT_THROW(_processor.set<InZSteps>(ZStepsConstPtr()), VELMOBaseProcessingException);
    EXPECT_THROW(_processor.set<InOutputImg3dZSize>(0), VELMOBaseProcessingException);
    EXPECT_EQ(run(), 0U);
    EXPECT_THAT(getResult(), ElementsAre(1, 2, 3));
}

TEST_F(ResampleRules, ARunNeedsEachValueAndThereIsNoResultWithoutIt) {
    std::string const needs = "Processor ResampleCustomZStack3dImgLvl1 needs a value for ";
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>(
                  [] { ResampleCustomZStack3dImgLvl1().getStorage<OutImg>(); }),
              g_noResult);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(runRefusal(), needs + "InImg3d");
        _processor.set<InImg3d>(_pThree);
        EXPECT_EQ(runRefusal(), needs + "InZSteps");
        _processor.set<InZSteps>(makeZSteps({1, 1}));
        EXPECT_EQ(runRefusal(), needs + "InOutputImg3dZSize");
        _processor.set<InOutputImg3dZSize>(3);
        EXPECT_EQ(resultRefusal(), g_noResult);
        EXPECT_EQ(run(), 0U);
        EXPECT_THAT(getResult(), ElementsAre(1, 2, 3));
        _processor.init(processor::ePRP_Strict); // forgets the values and the result
        EXPECT_EQ(resultRefusal(), g_noResult);
    }
}

TEST_F(ResampleRules, EmptyPointersImagesWithoutAGeometryAndValuesOutsideAreRefused) {
    EXPECT_EQ(refusal<InImg3d>(ImageConstPtr()),
              "Processor ResampleCustomZStack3dImgLvl1 needs a value for InImg3d");
    EXPECT_EQ(refusal<InZSteps>(ZStepsConstPtr()),
              "Processor ResampleCustomZStack3dImgLvl1 needs a value for InZSteps");
    EXPECT_EQ(refusal<InOutputImg3dZSize>(0), "InOutputImg3dZSize cannot be 0");
    EXPECT_THROW(_processor.set<InInterpolationPolicy>(static_cast<eInterpolationPolicy>(3)),
                 VELMOBaseProcessingException);
    _processor.set<InZSteps>(makeZSteps({1}));
    EXPECT_THROW(_processor.set<InImg3d>(boost::make_shared<MemoryImage>()), VELMOImageException);
}

TEST_F(ResampleRules, ASecondRunMakesASecondResult) {
    Resampling resampling(_pThree, {1, 1}, eIP_Linear, 3);
    resampling.processor.run(processor::eST_Synchronous);
    ImagePtr const pFirst = resampling.processor.getStorage<OutImg>();
    resampling.processor.set<InOutputImg3dZSize>(5);
    resampling.processor.run(processor::eST_Synchronous);
    ImagePtr const pSecond = resampling.processor.getStorage<OutImg>();
    EXPECT_THAT(getColumn(*pFirst), ElementsAre(1, 2, 3));
    EXPECT_THAT(getColumn(*pSecond), ElementsAre(1, 1.5, 2, 2.5, 3));
}

TEST_F(ResampleRules, AResultBeyondTheMemoryFailsTheRunWithBothFigures) {
    ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(1000, 1000).volume(2).build());
    Resampling resampling(pSource, {1}, eIP_Linear, 1000000000);
    auto const result = resampling.processor.run(processor::eST_Synchronous);
    EXPECT_NE(result.getStatus(), 0U);
    EXPECT_THAT(result.getMessage(),
                testing::MatchesRegex(
                    "The image needs 1000000000000000 bytes of memory, and [0-9]+ bytes are available"));
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>([&] { resampling.processor.getStorage<OutImg>(); }),
              g_noResult + ('\n' + result.getMessage()));
}

TEST_F(ResampleRules, AResultBeyond64BitsIsThrownAndLeavesNone) {
    ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(10, 10).volume(2).build());
    Resampling resampling(pSource, {1}, eIP_Linear, NumericLimits<unsigned long>::s_max);
    EXPECT_THROW(resampling.processor.run(processor::eST_Synchronous), VELMOImageException);
    EXPECT_THROW(resampling.processor.getStorage<OutImg>(), VELMOBaseProcessingException);
}

TEST_P(RefusedStepsTest, IsNamedByItsIndexAndItsValue) {
    ResampleCustomZStack3dImgLvl1 processor;
    processor.init(processor::ePRP_Strict);
    EXPECT_EQ(thrownText<VELMOBaseProcessingException>(
                  [&] { processor.set<InZSteps>(makeZSteps(GetParam().steps)); }),
              std::string("InZSteps holds a step that is not positive and finite: step ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, RefusedStepsTest,
    testing::Values(RefusedSteps{"Zero", {1, 0}, "1 is 0"},
                    RefusedSteps{"NegativeZero", {-0.0F, 1}, "0 is -0"},
                    RefusedSteps{"Negative", {1, 2, -3.5F}, "2 is -3.5"},
                    RefusedSteps{"Nan", {std::numeric_limits<float>::quiet_NaN()}, "0 is nan"},
                    RefusedSteps{"Infinity", {1, std::numeric_limits<float>::infinity()}, "1 is inf"},
                    RefusedSteps{"NegativeInfinity", {-std::numeric_limits<float>::infinity()}, "0 is -inf"},
                    RefusedSteps{"FirstOfSeveral", {1, -1, 0, -2}, "1 is -1"}),
    [](auto const& refused) { return refused.param.name; });

} // namespace velmo::test
