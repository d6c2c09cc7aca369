// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/Rational.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmo::tool {

namespace {

constexpr std::uint64_t g_max = std::numeric_limits<std::uint32_t>::max();

struct Fraction {
    std::uint64_t numerator;
    std::uint64_t denominator;

    double getDistance(double value) const {
        return std::abs(static_cast<double>(numerator) / static_cast<double>(denominator) - value);
    }
};

/// The greatest factor for which factor * last + before stays in range.
std::uint64_t findLargestFactor(Fraction const& before, Fraction const& last) {
    auto const fits = [](std::uint64_t start, std::uint64_t step) {
        return step == 0 ? g_max : (g_max - start) / step;
    };
    return std::min(fits(before.numerator, last.numerator), fits(before.denominator, last.denominator));
}

/// By the continued fraction of the value.
Fraction approximate(double value, double tolerance) {
    Fraction before = {0, 1};
    Fraction last = {1, 0};
    double rest = value;
    while (true) {
        auto const term = static_cast<std::uint64_t>(rest);
        std::uint64_t const factor = std::min(term, findLargestFactor(before, last));
        Fraction const next = {factor * last.numerator + before.numerator,
                               factor * last.denominator + before.denominator};
        if (factor != term) { // the last one may be nearer than the beginning of the next
            return next.getDistance(value) < last.getDistance(value) ? next : last;
        }
        if (next.getDistance(value) <= value * tolerance || rest == static_cast<double>(term)) {
            return next;
        }
        before = last;
        last = next;
        rest = 1 / (rest - static_cast<double>(term));
    }
}

} // namespace

std::optional<Rational> findRational(double value, double tolerance) {
    constexpr auto max = static_cast<double>(g_max);
    if (!(value >= 1 / max && value <= max)) {
        return std::nullopt;
    }
    Fraction const fraction = approximate(value, tolerance);
    return Rational{static_cast<std::uint32_t>(fraction.numerator),
                    static_cast<std::uint32_t>(fraction.denominator)};
}

} // namespace velmo::tool
