// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelPattern.h"
#include "ResampleTools.h"
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <sstream>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;
using testing::ElementsAre;

namespace {

std::string toName(testing::TestParamInfo<eImageBufferType> const& type) {
    std::ostringstream name;
    name << type.param;
    return name.str();
}

class IntegerResampling : public testing::TestWithParam<eImageBufferType> {
  protected:
    Column run(Column const& values, std::vector<float> const& steps, eInterpolationPolicy policy,
               unsigned long sizeZ) const {
        return getColumn(*resample(makeColumn(GetParam(), values), steps, policy, sizeZ));
    }
    Range const _range = getRange(GetParam());
};

class PlaneResampling : public IntegerResampling {};

double round(double value) {
    return value < 0 ? std::ceil(value - 0.5) : std::floor(value + 0.5);
}

/// Rounded and kept in the range. A sum of another order may fall on the other side of a half.
testing::AssertionResult isRounded(double value, double exact, Range const& range) {
    for (double const shift : {-1e-5, 1e-5}) {
        double const expected = std::min(range.highest, std::max(range.lowest, round(exact + shift)));
        if (value == expected) {
            return testing::AssertionSuccess();
        }
    }
    return testing::AssertionFailure() << value << " is not the rounded " << exact;
}

} // namespace

TEST_P(IntegerResampling, RoundsThePlainInterpolationAndKeepsItInItsRange) {
    Column values; // ends of the range next to each other, and values between
    for (double const part : {0.0, 1.0, 1.0, 0.0, 0.3, 0.31, 0.9, 0.0, 0.5}) {
        values.push_back(std::floor(_range.lowest + part * (_range.highest - _range.lowest)));
    }
    std::vector<float> const steps = {1, 0.5F, 2, 1, 3, 0.25F, 1, 1.25F};
    for (auto const policy : g_policies) {
        Column const plain = resampleColumn(values, steps, policy, 161);
        Column const result = run(values, steps, policy, 161);
        for (std::size_t z = 0; z < plain.size(); ++z) {
            EXPECT_TRUE(isRounded(result[z], plain[z], _range)) << "policy " << policy << " plane " << z;
        }
    }
}

TEST_P(IntegerResampling, RoundsHalvesAwayFromZero) {
    EXPECT_THAT(run({0, 1}, {1}, eIP_Linear, 3), ElementsAre(0, 1, 1));
    EXPECT_THAT(run({1, 2}, {1}, eIP_Linear, 3), ElementsAre(1, 2, 2));
    EXPECT_THAT(run({2, 1}, {1}, eIP_Linear, 3), ElementsAre(2, 2, 1));
    EXPECT_THAT(run({0, 1}, {1}, eIP_Linear, 5), ElementsAre(0, 0, 1, 1, 1));
    if (_range.lowest < 0) {
        EXPECT_THAT(run({0, -1}, {1}, eIP_Linear, 3), ElementsAre(0, -1, -1));
        EXPECT_THAT(run({-1, -2}, {1}, eIP_Linear, 3), ElementsAre(-1, -2, -2));
        EXPECT_THAT(run({1, -2}, {1}, eIP_Linear, 3), ElementsAre(1, -1, -2));
        EXPECT_THAT(run({0, -1}, {1}, eIP_Linear, 5), ElementsAre(0, 0, -1, -1, -1));
    }
}

TEST_P(IntegerResampling, KeepsTheEndsOfItsRangeToTheLastDigit) {
    double const low = _range.lowest;
    double const high = _range.highest;
    EXPECT_THAT(run({high, high - 1}, {1}, eIP_Linear, 5), ElementsAre(high, high, high, high - 1, high - 1));
    EXPECT_THAT(run({low, high}, {1}, eIP_Linear, 2), ElementsAre(low, high));
    EXPECT_THAT(run({high, low, high}, {1, 1}, eIP_Linear, 3), ElementsAre(high, low, high));
    EXPECT_THAT(run({low, low, high}, {1, 1}, eIP_Nearest, 5), ElementsAre(low, low, low, low, high));
}

TEST_P(IntegerResampling, CubicKeepsOneValueBetweenStepsThatTheirSumSwallows) {
    for (double const value : {_range.lowest, 7.0, _range.highest}) {
        EXPECT_THAT(run(Column(4, value), {1e20F, 1, 1e20F}, eIP_Cubic, 101), testing::Each(value));
    }
}

INSTANTIATE_TEST_SUITE_P(Types, IntegerResampling,
                         testing::Values(eIBT_Int8, eIBT_UInt8, eIBT_Int16, eIBT_UInt16, eIBT_Int32,
                                         eIBT_UInt32),
                         toName);

TEST_P(PlaneResampling, TakesTheNearestPlaneWhateverThePolicy) {
    for (auto const policy : g_policies) {
        EXPECT_THAT(run({0, _range.highest, 1}, {2, 4}, policy, 7),
                    ElementsAre(0, 0, _range.highest, _range.highest, _range.highest, 1, 1))
            << policy;
    }
}

INSTANTIATE_TEST_SUITE_P(Types, PlaneResampling,
                         testing::Values(eIBT_Binary, eIBT_Label8, eIBT_Label16, eIBT_Label32), toName);

TEST(RealResampling, IsNeitherRoundedNorLimited) {
    auto const run = [](Column const& values, eInterpolationPolicy policy) {
        return getColumn(*resample(makeColumn(eIBT_Real32, values), {1, 1, 1}, policy, 7));
    };
    EXPECT_THAT(run({0, 0.5, -0.25, 1}, eIP_Linear), ElementsAre(0, 0.25, 0.5, 0.125, -0.25, 0.375, 1));
    EXPECT_THAT(run({0, 0, 1, 1}, eIP_Cubic), ElementsAre(0, -0.0625, 0, 0.5, 1, 1.0625, 1));
}

TEST(RealResampling, KeepsLargeAndSmallValues) {
    double const largest = std::numeric_limits<float>::max();
    double const smallest = std::numeric_limits<float>::denorm_min();
    auto const run = [](Column const& values) {
        return getColumn(*resample(makeColumn(eIBT_Real32, values), {1}, eIP_Linear, 3));
    };
    EXPECT_THAT(run({largest, largest}), ElementsAre(largest, largest, largest));
    EXPECT_THAT(run({-largest, largest}), ElementsAre(-largest, 0, largest));
    EXPECT_THAT(run({smallest, smallest}), ElementsAre(smallest, smallest, smallest));
}

TEST(RealResampling, ANanMakesNansBesideItAndNowhereElse) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Column const result =
        getColumn(*resample(makeColumn(eIBT_Real32, {1, 2, nan, 4, 5}), {1, 1, 1, 1}, eIP_Linear, 9));
    for (std::size_t z = 0; z < result.size(); ++z) {
        EXPECT_EQ(std::isnan(result[z]), z >= 3 && z <= 5) << z;
    }
    EXPECT_EQ(result[2], 2);
    EXPECT_EQ(result[6], 4);
    ImagePtr const pSource = makeColumn(eIBT_Real32, {1, 2, 3});
    unsigned int const bits = 0x7fc12345; // are kept where the plane is
    ASSERT_TRUE(pSource->writePixels(1, 0, 0, 0, 1, &bits));
    unsigned int read = 0;
    ASSERT_TRUE(resample(pSource, {1, 1}, eIP_Linear, 5)->readPixels(2, 0, 0, 0, 1, &read));
    EXPECT_EQ(read, bits);
}

TEST(RealResampling, InfinityStaysWhereThePlanesAreInfiniteAndFillsTheStepsBesideThem) {
    double const infinity = std::numeric_limits<double>::infinity();
    auto const run = [](Column const& values, eInterpolationPolicy policy) {
        return getColumn(
            *resample(makeColumn(eIBT_Real32, values), std::vector<float>(values.size() - 1, 1), policy, 3));
    };
    for (auto const policy : g_policies) {
        EXPECT_THAT(run({infinity, 1, -infinity}, policy), ElementsAre(infinity, 1, -infinity));
    }
    EXPECT_THAT(run({1, infinity}, eIP_Linear), ElementsAre(1, infinity, infinity));
    EXPECT_THAT(run({infinity, 1}, eIP_Linear), ElementsAre(infinity, infinity, 1));
    EXPECT_THAT(run({infinity, infinity}, eIP_Linear), ElementsAre(infinity, infinity, infinity));
}

namespace {

constexpr eImageBufferType g_integers[] = {eIBT_Int8,   eIBT_UInt8, eIBT_Int16,
                                           eIBT_UInt16, eIBT_Int32, eIBT_UInt32};

double roundInto(double value, Range const& range) {
    double const rounded = value < 0 ? std::ceil(value - 0.5) : std::floor(value + 0.5);
    return std::min(range.highest, std::max(range.lowest, rounded));
}

/// Pixels of a result that are not what the plain interpolation gives, one pixel after the other. With even
/// steps and quarters between them no sum is rounded on its way, but for the final one.
vlUInt64 countWrongPixels(BaseImage const& source, BaseImage const& result, eInterpolationPolicy policy) {
    BaseImageGeometry const& geometry = source.getGeometry();
    std::vector<float> const steps(geometry.getSizeZ() - 1, 1.0F);
    Range const range = getRange(geometry.getBufferType());
    vlUInt64 nbWrong = 0;
    for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
        for (vlUInt64 pixel = 0; pixel < geometry.getPlanNbPixels(); ++pixel) {
            Column const plain = resampleColumn(getColumn(source, c, 0, pixel), steps, policy,
                                                result.getGeometry().getSizeZ());
            Column const found = getColumn(result, c, 0, pixel);
            for (std::size_t z = 0; z < plain.size(); ++z) {
                nbWrong += found[z] == roundInto(plain[z], range) ? 0 : 1;
            }
        }
    }
    return nbWrong;
}

ImagePtr resampleToQuarters(ImagePtr const& pSource, eInterpolationPolicy policy) {
    vlUInt64 const nbSteps = pSource->getGeometry().getSizeZ() - 1;
    return resample(pSource, std::vector<float>(nbSteps, 1.0F), policy, 4 * nbSteps + 1);
}

} // namespace

TEST(ResamplePlanes, OfEverySizeAreResampledToTheLastPixel) {
    for (auto const type : g_integers) {
        for (vlUInt64 nbPixels = 1; nbPixels <= 40; ++nbPixels) {
            ImagePtr const pSource =
                makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).channels(2).type(type).build());
            for (auto const policy : g_policies) {
                ImagePtr const pResult = resampleToQuarters(pSource, policy);
                EXPECT_EQ(countWrongPixels(*pSource, *pResult, policy), 0U)
                    << "type " << type << " policy " << policy << " pixels " << nbPixels;
            }
        }
    }
}

TEST(ResamplePlanes, TakeEveryStepBetweenTwoValues) {
    for (auto const type : g_integers) {
        Range const range = getRange(type);
        ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(100, 3).volume(2).type(type).build());
        for (vlUInt64 pixel = 0; pixel < 300; ++pixel) {
            auto const delta = static_cast<double>(pixel % 100) / 2;
            setPixel(*pSource, 0, 0, 0, pixel, std::floor(pixel < 150 ? range.lowest + delta : delta));
            setPixel(*pSource, 1, 0, 0, pixel, std::floor(pixel % 2 == 0 ? range.highest - delta : delta));
        }
        // 64 even steps: every weight has an exact form, and many sums end on a half.
        ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 65);
        EXPECT_EQ(countWrongPixels(*pSource, *pResult, eIP_Linear), 0U) << "type " << type;
    }
}

TEST(ResamplePlanes, OfSixteenBitsTakeEveryPairOfNeighboursAndOfEnds) {
    for (auto const type : {eIBT_Int16, eIBT_UInt16}) {
        Range const range = getRange(type);
        ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(256, 256).volume(2).type(type).build());
        for (vlUInt64 pixel = 0; pixel < 65536; ++pixel) {
            double const value = range.lowest + static_cast<double>(pixel);
            setPixel(*pSource, 0, 0, 0, pixel, value);
            setPixel(*pSource, 1, 0, 0, pixel,
                     pixel % 3 == 0 ? range.highest : (pixel % 3 == 1 ? range.lowest : value + 1));
        }
        ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 5);
        EXPECT_EQ(countWrongPixels(*pSource, *pResult, eIP_Linear), 0U) << "type " << type;
    }
}

TEST(ResamplePlanes, OfEverySizeTakeTheNearestWhereTheyAreLabels) {
    for (auto const type : {eIBT_Binary, eIBT_Label8, eIBT_Label16, eIBT_Label32}) {
        for (vlUInt64 nbPixels = 1; nbPixels <= 40; ++nbPixels) {
            ImagePtr const pSource =
                makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).channels(2).type(type).build());
            EXPECT_EQ(countWrongPixels(*pSource, *resampleToQuarters(pSource, eIP_Cubic), eIP_Nearest), 0U)
                << "type " << type << " pixels " << nbPixels;
        }
    }
}

TEST(ResamplePlanes, OfRealsOfEverySizeAreResampledToTheLastPixel) {
    for (vlUInt64 nbPixels = 1; nbPixels <= 40; ++nbPixels) {
        ImagePtr const pSource =
            makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).type(eIBT_Real32).build());
        for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
            for (vlUInt64 z = 0; z < 4; ++z) {
                setPixel(*pSource, z, 0, 0, pixel, static_cast<double>((pixel * 37 + z * 101) % 256) - 77.5);
            }
        }
        for (auto const policy : g_policies) {
            ImagePtr const pResult = resampleToQuarters(pSource, policy);
            for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
                EXPECT_THAT(getColumn(*pResult, 0, 0, pixel),
                            testing::Pointwise(
                                testing::DoubleNear(1e-4),
                                resampleColumn(getColumn(*pSource, 0, 0, pixel), {1, 1, 1}, policy, 13)));
            }
        }
    }
}

} // namespace velmo::test
