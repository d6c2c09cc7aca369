// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/detail/LinearBlend16.h"
#include "VELMOGeometricTransform/detail/BlendSample.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace velmo::imaproc::gtrans {

namespace {

using Samples = std::vector<std::uint16_t>;

constexpr std::size_t g_nbValues = 65536;

Samples makeSamples(std::function<std::size_t(std::size_t)> const& toSample) {
    Samples samples(g_nbValues);
    for (std::size_t index = 0; index < g_nbValues; ++index) {
        samples[index] = static_cast<std::uint16_t>(toSample(index));
    }
    return samples;
}

void blend(double weight, Samples const& base, Samples const& other, std::uint16_t* pTarget) {
    blendLinear16(base.size(), weight, reinterpret_cast<std::byte const*>(base.data()),
                  reinterpret_cast<std::byte const*>(other.data()), reinterpret_cast<std::byte*>(pTarget));
}

std::size_t countDifferences(double weight, Samples const& base, Samples const& other) {
    Samples blended(base.size());
    blend(weight, base, other, blended.data());
    std::size_t nbDifferences = 0;
    for (std::size_t index = 0; index < base.size(); ++index) {
        nbDifferences += blended[index] == blendSample(weight, base[index], other[index]) ? 0U : 1U;
    }
    return nbDifferences;
}

} // namespace

class LinearBlend16Weights : public testing::TestWithParam<double> {};

TEST_P(LinearBlend16Weights, EveryDifferenceIsRoundedAsOneSampleIs) {
    Samples const all = makeSamples([](std::size_t index) { return index; });
    Samples const lowest(g_nbValues, 0);
    Samples const highest(g_nbValues, 65535);
    EXPECT_EQ(countDifferences(GetParam(), lowest, all), 0U);
    EXPECT_EQ(countDifferences(GetParam(), highest, all), 0U);
    EXPECT_EQ(countDifferences(GetParam(), all, lowest), 0U);
    EXPECT_EQ(countDifferences(GetParam(), all, Samples(all.rbegin(), all.rend())), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, LinearBlend16Weights,
                         testing::Values(0.5, 0.25, 1.0 / 3, 1.0 / 6, 5.0 / 6, 0.1, 0.99, 7.0 / 598,
                                         597.0 / 598, 1.0 / 65536, 3.0 / 65536, 1.0 / 131072, 1e-9, 1 - 1e-9,
                                         0.123456789));

TEST(LinearBlend16, RandomWeightsOfRandomSamplesAreRoundedAsOneSampleIs) {
    constexpr unsigned int seed = 20261121;
    std::mt19937 random(seed);
    for (int round = 0; round < 20; ++round) {
        auto const number = [&](std::size_t /*index*/) { return random(); };
        Samples const base = makeSamples(number);
        Samples const other = makeSamples(number);
        double const weight = (static_cast<double>(random()) + 0.5) / 4294967296.0;
        EXPECT_EQ(countDifferences(weight, base, other), 0U) << "weight " << weight;
    }
}

TEST(LinearBlend16, SamplesBehindTheLastGroupAreBlended) {
    for (std::size_t nbSamples = 0; nbSamples < 70; ++nbSamples) {
        Samples const base(nbSamples, 10);
        Samples const other(nbSamples, 20);
        Samples blended(nbSamples + 1, 7);
        blend(0.5, base, other, blended.data());
        EXPECT_EQ(std::count(blended.begin(), blended.end(), 15), static_cast<std::ptrdiff_t>(nbSamples));
        EXPECT_EQ(blended.back(), 7) << "written behind the end";
    }
}

} // namespace velmo::imaproc::gtrans
