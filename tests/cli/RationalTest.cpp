// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/Rational.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <tuple>

namespace velmo::tool {

namespace {

constexpr double g_exact = 4 * std::numeric_limits<double>::epsilon();
constexpr std::uint32_t g_max = std::numeric_limits<std::uint32_t>::max();

struct Nearest {
    char const* name;
    double value;
    std::uint32_t numerator;
    std::uint32_t denominator;
};

std::ostream& operator<<(std::ostream& os, Nearest const& nearest) {
    return os << nearest.name;
}

class NearestRational : public testing::TestWithParam<Nearest> {};

double getDistance(std::uint64_t numerator, std::uint64_t denominator, double value) {
    return std::abs(static_cast<double>(numerator) / static_cast<double>(denominator) - value);
}

} // namespace

TEST_P(NearestRational, IsTheSimplestThatIsExact) {
    std::optional<Rational> const rational = findRational(GetParam().value, g_exact);
    ASSERT_TRUE(rational);
    EXPECT_EQ(GetParam().numerator, rational->numerator);
    EXPECT_EQ(GetParam().denominator, rational->denominator);
}

INSTANTIATE_TEST_SUITE_P(Values, NearestRational,
                         testing::Values(Nearest{"One", 1, 1, 1}, Nearest{"Half", 0.5, 1, 2},
                                         Nearest{"Third", 1.0 / 3, 1, 3},
                                         Nearest{"PixelsOf650Nanometres", 10000 / 0.65, 200000, 13},
                                         Nearest{"PixelsOf300AnInch", 300 / 2.54, 15000, 127},
                                         Nearest{"Whole", 123456789, 123456789, 1},
                                         Nearest{"Largest", 4294967295.0, g_max, 1},
                                         Nearest{"Smallest", 1 / 4294967295.0, 1, g_max},
                                         Nearest{"LargeWithAFraction", 1431655764.75, 4294967294U, 3},
                                         Nearest{"Small", 7e-9, 7, 1000000000}),
                         [](auto const& entry) { return std::string(entry.param.name); });

TEST(Rational, NoFractionOfANearbyDenominatorIsNearer) {
    std::mt19937 random(20);
    std::uniform_real_distribution<double> exponent(-9, 9);
    for (int time = 0; time < 2000; ++time) {
        double const value = std::pow(10, exponent(random));
        std::optional<Rational> const found = findRational(value, g_exact);
        ASSERT_TRUE(found);
        double const distance = getDistance(found->numerator, found->denominator, value);
        EXPECT_LT(distance, 2e-9 * value) << value;
        for (std::uint64_t step = 1; step < 50; ++step) {
            std::uint64_t const denominator = found->denominator + step;
            auto const numerator =
                static_cast<std::uint64_t>(std::round(value * static_cast<double>(denominator)));
            if (numerator <= g_max && denominator <= g_max) {
                EXPECT_GE(getDistance(numerator, denominator, value), distance - 1e-15 * value) << value;
            }
        }
    }
}

TEST(Rational, IsAsSimpleAsTheToleranceLetsIt) {
    for (auto const& [tolerance, numerator, denominator] :
         std::initializer_list<std::tuple<double, unsigned, unsigned>>{
             {0.1, 3, 1}, {1e-3, 22, 7}, {1e-6, 355, 113}}) {
        std::optional<Rational> const rational = findRational(3.14159265358979, tolerance);
        ASSERT_TRUE(rational);
        EXPECT_EQ(numerator, rational->numerator);
        EXPECT_EQ(denominator, rational->denominator);
    }
}

TEST(Rational, ThereIsNoneForWhatIsOutOfReachOrNoNumber) {
    using Limits = std::numeric_limits<double>;
    for (double const value : {0.0, -1.0, 4294967295.5, 1e300, 1e-10, Limits::infinity(), -Limits::infinity(),
                               Limits::quiet_NaN()}) {
        EXPECT_FALSE(findRational(value, g_exact)) << value;
    }
}

} // namespace velmo::tool
