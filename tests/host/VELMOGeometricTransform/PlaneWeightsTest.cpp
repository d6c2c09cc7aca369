// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/detail/PlaneWeights.h"

#include "ResampleTools.h"

#include <cmath>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::imaproc::attr;
using imaproc::gtrans::PlanePositions;
using imaproc::gtrans::PlaneWeights;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::Pointwise;

namespace {

/// What each input plane counts in one plane of the result.
Column getShares(PlaneWeights const& weights, std::size_t nbPlanes) {
    Column shares(nbPlanes, 0.0);
    shares.at(weights.base) = 1;
    for (unsigned int term = 0; term < weights.nbTerms; ++term) {
        shares.at(weights.terms[term].plane) += weights.terms[term].weight;
        shares[weights.base] -= weights.terms[term].weight;
    }
    return shares;
}

Column getShares(std::vector<float> const& steps, vlUInt64 index, vlUInt64 nbPlanes,
                 eInterpolationPolicy policy) {
    return getShares(PlanePositions(steps).weigh(index, nbPlanes, policy), steps.size() + 1);
}

/// The same from the plain interpolation of a column that is 1 in one plane and 0 elsewhere.
Column getPlainShares(std::vector<float> const& steps, vlUInt64 index, vlUInt64 nbPlanes,
                      eInterpolationPolicy policy) {
    Column shares;
    for (std::size_t plane = 0; plane <= steps.size(); ++plane) {
        Column values(steps.size() + 1, 0.0);
        values[plane] = 1;
        shares.push_back(resampleColumn(values, steps, policy, nbPlanes)[index]);
    }
    return shares;
}

std::vector<std::vector<float>> makeSteps() {
    return {{1},
            {1, 1},
            {1, 1, 1, 1},
            {1, 2},
            {3, 1},
            {1, 3, 2, 0.5F},
            {0.1F, 0.7F, 100, 2},
            {1e-30F, 2e-30F, 1e-30F},
            {1e30F, 3e30F},
            {5, 4, 3, 2, 1, 1, 2, 3, 4, 5}};
}

} // namespace

TEST(PlaneWeights, OfEveryPolicyAreThoseOfThePlainInterpolation) {
    for (std::vector<float> const& steps : makeSteps()) {
        for (auto const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
            for (vlUInt64 const nbPlanes : {1U, 2U, 3U, 5U, 8U, 41U}) {
                for (vlUInt64 index = 0; index < nbPlanes; ++index) {
                    SCOPED_TRACE(testing::Message() << testing::PrintToString(steps) << " policy " << policy
                                                    << " plane " << index << " of " << nbPlanes);
                    EXPECT_THAT(getShares(steps, index, nbPlanes, policy),
                                Pointwise(DoubleNear(1e-8), getPlainShares(steps, index, nbPlanes, policy)));
                }
            }
        }
    }
}

TEST(PlaneWeights, OfAnInputPlanesPositionAreThatPlaneAlone) {
    std::vector<float> const steps = {1, 3, 2}; // positions 0 1 4 6
    for (auto const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        PlanePositions const positions(steps);
        for (auto const& [index, plane] : {std::make_pair(0U, 0U), {1U, 1U}, {4U, 2U}, {6U, 3U}}) {
            PlaneWeights const weights = positions.weigh(index, 7, policy);
            EXPECT_EQ(weights.base, plane);
            EXPECT_EQ(weights.nbTerms, 0U);
        }
        for (std::vector<float> const& others : makeSteps()) {
            PlaneWeights const last = PlanePositions(others).weigh(16, 17, policy);
            EXPECT_EQ(last.base, others.size());
            EXPECT_EQ(last.nbTerms, 0U);
        }
        for (vlUInt64 index = 0; index < 4; ++index) {
            EXPECT_THAT(getShares({}, index, 4, policy), ElementsAre(1)); // one plane everywhere
        }
    }
}

// Written out, beside the plain interpolation. With even steps the cubic one is 9/16, 9/16, -1/16, -1/16 half
// way; at the ends (y0 + y1) / 2 + (slope0 - slope1) / 8 with the slopes y1 - y0 and (y2 - y0) / 2.
TEST(PlaneWeights, OfAFewPositionsAreThoseOfTheFormulas) {
    std::vector<float> const uneven = {2, 4}; // positions 0 2 6
    std::vector<float> const even = {1, 1, 1};
    struct {
        std::vector<float> steps;
        vlUInt64 index, nbPlanes;
        eInterpolationPolicy policy;
        Column shares;
    } const cases[] = {{uneven, 1, 7, eIP_Nearest, {1, 0, 0}}, // half way: the plane before
                       {uneven, 4, 7, eIP_Nearest, {0, 1, 0}},
                       {uneven, 3, 7, eIP_Nearest, {0, 1, 0}},
                       {uneven, 5, 7, eIP_Nearest, {0, 0, 1}},
                       {uneven, 3, 13, eIP_Nearest, {0, 1, 0}},
                       {uneven, 1, 7, eIP_Linear, {0.5, 0.5, 0}},
                       {uneven, 3, 7, eIP_Linear, {0, 0.75, 0.25}},
                       {uneven, 5, 7, eIP_Linear, {0, 0.25, 0.75}},
                       {even, 3, 7, eIP_Cubic, {-0.0625, 0.5625, 0.5625, -0.0625}},
                       {even, 1, 7, eIP_Cubic, {0.4375, 0.625, -0.0625, 0}},
                       {even, 5, 7, eIP_Cubic, {0, -0.0625, 0.625, 0.4375}},
                       {{8}, 3, 9, eIP_Cubic, {0.625, 0.375}}};
    for (auto const& entry : cases) {
        EXPECT_THAT(getShares(entry.steps, entry.index, entry.nbPlanes, entry.policy),
                    Pointwise(DoubleNear(1e-15), entry.shares));
    }
}

// Thirds of a total have no exact form: the position misses the plane by the last bit of its sum.
TEST(PlaneWeights, OfAPositionThatMissesAPlaneByARoundingAreThatPlaneAlone) {
    for (vlUInt64 nbSteps = 2; nbSteps < 60; ++nbSteps) {
        for (float const step : {0.1F, 0.3F, 1.0F / 3, 1e-3F, 7.7F}) {
            PlanePositions const positions(std::vector<float>(nbSteps, step));
            for (vlUInt64 index = 0; index <= nbSteps; ++index) {
                PlaneWeights const weights = positions.weigh(index, nbSteps + 1, eIP_Cubic);
                EXPECT_EQ(weights.base, index);
                EXPECT_EQ(weights.nbTerms, 0U);
            }
        }
    }
}

TEST(PlaneWeights, TheLastPlaneIsTheLastOneBehindASmallStep) {
    PlanePositions const positions({370.0F, 1000.0F, 1e-6F});
    for (vlUInt64 const nbPlanes : {2U, 4U, 7U, 13U, 25U, 26U}) {
        PlaneWeights const weights = positions.weigh(nbPlanes - 1, nbPlanes, eIP_Linear);
        EXPECT_EQ(weights.base, 3U) << nbPlanes;
        EXPECT_EQ(weights.nbTerms, 0U) << nbPlanes;
    }
}

TEST(PlaneWeights, AreFiniteForStepsThatAreAsDifferentAsCanBe) {
    float const largest = std::numeric_limits<float>::max();
    float const smallest = std::numeric_limits<float>::denorm_min();
    for (std::vector<float> const& steps :
         {std::vector<float>{largest, smallest, largest}, {smallest, largest, smallest}, {1e20F, 1, 1e20F}}) {
        for (auto const policy : {eIP_Linear, eIP_Cubic}) {
            for (vlUInt64 index = 0; index < 101; ++index) {
                for (double const share : getShares(steps, index, 101, policy)) {
                    EXPECT_TRUE(std::isfinite(share))
                        << testing::PrintToString(steps) << " policy " << policy << " plane " << index;
                }
            }
        }
    }
}

} // namespace velmo::test
