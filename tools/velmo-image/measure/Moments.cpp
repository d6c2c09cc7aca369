// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Moments.h"

#include "measure/Lanes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_momentBlock = vlUInt64{1} << 14;
/// Values of a block that are finite.
using FiniteValues = std::array<float, g_momentBlock>;

/// Floating-point numbers as integers of the same order; those of NaN are beyond those of the infinities.
std::int32_t toOrdered(float value) {
    std::int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits ^ (bits < 0 ? 0x7FFFFFFF : 0);
}

float fromOrdered(std::int32_t ordered) {
    std::int32_t const bits = ordered ^ (ordered < 0 ? 0x7FFFFFFF : 0);
    float value = 0;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/// Least and greatest value. Found among integers, which the compiler can compare with vector instructions.
struct BlockRange {
    std::int32_t least = std::numeric_limits<std::int32_t>::max();
    std::int32_t greatest = std::numeric_limits<std::int32_t>::min();

    BlockRange(float const* values, vlUInt64 nb) {
        for (vlUInt64 index = 0; index < nb; ++index) {
            std::int32_t const value = toOrdered(values[index]);
            least = value < least ? value : least;
            greatest = value > greatest ? value : greatest;
        }
    }

    bool isFinite() const {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        return least > toOrdered(-infinity) && greatest < toOrdered(infinity);
    }
};

double sumValues(float const* values, vlUInt64 nb) {
    Lanes<double> sums{};
    spreadOverLanes(
        nb, [&](vlUInt64 index, std::size_t lane) { sums[lane] += static_cast<double>(values[index]); });
    return sumLanes(sums);
}

double sumSquares(float const* values, vlUInt64 nb, double mean) {
    Lanes<double> sums{};
    spreadOverLanes(nb, [&](vlUInt64 index, std::size_t lane) {
        double const distance = static_cast<double>(values[index]) - mean;
        sums[lane] += distance * distance;
    });
    return sumLanes(sums);
}

} // namespace

void IntegerSums::add(std::int64_t value, vlUInt64 nb) {
    _nb += nb;
    _sum += Wide(value) * Wide(nb);
    _squares += Wide(value) * Wide(value) * Wide(nb);
}

void IntegerSums::add(vlUInt64 nb, std::int64_t sum, vlUInt64 squaresLow, vlUInt64 squaresHigh) {
    _nb += nb;
    _sum += sum;
    _squares += Wide(squaresLow) + (Wide(squaresHigh) << 32);
}

void IntegerSums::add(IntegerSums const& other) {
    _nb += other._nb;
    _sum += other._sum;
    _squares += other._squares;
}

double IntegerSums::getMean() const {
    return static_cast<double>(static_cast<long double>(_sum) / static_cast<long double>(_nb));
}

double IntegerSums::getDeviation() const {
    // Distances from the whole number next to the mean: their squares have an exact sum, which is at least
    // twice what has to be taken away.
    Wide const nb = static_cast<Wide>(_nb);
    Wide const doubled = 2 * _sum + nb;
    Wide const center = doubled / (2 * nb) - (doubled % (2 * nb) < 0 ? 1 : 0);
    Wide const rest = _sum - center * nb;
    Wide const squares = _squares - 2 * center * rest - center * center * nb;
    auto const whole = static_cast<long double>(nb);
    auto const distance = static_cast<long double>(rest);
    long double const variance = (static_cast<long double>(squares) - distance * distance / whole) / whole;
    return static_cast<double>(std::sqrt(variance));
}

void BlockMoments::add(BlockMoments const& other) {
    if (other.nb == 0) {
        return;
    }
    double const total = nb + other.nb;
    double const distance = other.mean - mean;
    mean += distance * (other.nb / total);
    squares += other.squares + distance * distance * (nb / total) * other.nb;
    nb = total;
}

double BlockMoments::getDeviation() const {
    return std::sqrt(squares / nb);
}

void FloatMoments::take(float const* values, vlUInt64 nb) {
    for (vlUInt64 start = 0; start < nb; start += g_momentBlock) {
        takeBlock(values + start, std::min(g_momentBlock, nb - start));
    }
}

void FloatMoments::takeBlock(float const* values, vlUInt64 nb) {
    BlockRange const range(values, nb);
    if (range.isFinite()) {
        takeFinite(values, nb, fromOrdered(range.least), fromOrdered(range.greatest));
        return;
    }
    FiniteValues finite;
    vlUInt64 nbFinite = 0;
    for (vlUInt64 index = 0; index < nb; ++index) {
        float const value = values[index];
        if (std::isfinite(value)) {
            finite[nbFinite++] = value;
        } else {
            ++(std::isnan(value) ? _nbNaN : value > 0 ? _nbPositive : _nbNegative);
        }
    }
    if (nbFinite != 0) {
        BlockRange const rest(finite.data(), nbFinite);
        takeFinite(finite.data(), nbFinite, fromOrdered(rest.least), fromOrdered(rest.greatest));
    }
}

void FloatMoments::takeFinite(float const* values, vlUInt64 nb, float minimum, float maximum) {
    _minimum = _nbFinite == 0 ? minimum : std::min(_minimum, minimum);
    _maximum = _nbFinite == 0 ? maximum : std::max(_maximum, maximum);
    _nbFinite += nb;
    double const mean = sumValues(values, nb) / static_cast<double>(nb);
    _blocks.push_back({static_cast<double>(nb), mean, sumSquares(values, nb, mean)});
}

void FloatMoments::append(FloatMoments const& other) {
    BlockMoments whole = getWhole();
    for (BlockMoments const& block : other._blocks) {
        whole.add(block);
    }
    _blocks = {whole};
    if (other._nbFinite != 0) {
        _minimum = _nbFinite == 0 ? other._minimum : std::min(_minimum, other._minimum);
        _maximum = _nbFinite == 0 ? other._maximum : std::max(_maximum, other._maximum);
    }
    _nbFinite += other._nbFinite;
    _nbNaN += other._nbNaN;
    _nbPositive += other._nbPositive;
    _nbNegative += other._nbNegative;
}

BlockMoments FloatMoments::getWhole() const {
    BlockMoments whole;
    for (BlockMoments const& block : _blocks) {
        whole.add(block);
    }
    return whole;
}

} // namespace velmo::tool
