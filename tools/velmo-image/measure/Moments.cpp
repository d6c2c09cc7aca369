// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Moments.h"

#include "measure/Lanes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_blockSize = vlUInt64{1} << 14;
constexpr float g_largest = std::numeric_limits<float>::max();

bool isFinite(float value) {
    return std::abs(value) <= g_largest;
}

/// What is known of a block before its mean is.
struct BlockSums {
    Lanes<double> sums{};
    Lanes<float> least;
    Lanes<float> greatest;
    Lanes<std::uint32_t> nbNaN{};
    Lanes<std::uint32_t> nbPositive{};
    Lanes<std::uint32_t> nbNegative{};

    BlockSums() {
        least.fill(g_largest);
        greatest.fill(-g_largest);
    }

    void take(float value, std::size_t lane) {
        float const finite = isFinite(value) ? value : 0.0F;
        sums[lane] += static_cast<double>(finite);
        least[lane] = isFinite(value) && value < least[lane] ? value : least[lane];
        greatest[lane] = isFinite(value) && value > greatest[lane] ? value : greatest[lane];
        nbNaN[lane] += value != value ? 1U : 0U;
        nbPositive[lane] += value > g_largest ? 1U : 0U;
        nbNegative[lane] += value < -g_largest ? 1U : 0U;
    }
};

double sumSquares(float const* values, vlUInt64 nb, double mean) {
    Lanes<double> sums{};
    spreadOverLanes(nb, [&](vlUInt64 index, std::size_t lane) {
        float const value = values[index];
        double const distance = isFinite(value) ? static_cast<double>(value) - mean : 0.0;
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
    for (vlUInt64 start = 0; start < nb; start += g_blockSize) {
        takeBlock(values + start, std::min(g_blockSize, nb - start));
    }
}

void FloatMoments::takeBlock(float const* values, vlUInt64 nb) {
    BlockSums sums;
    spreadOverLanes(nb, [&](vlUInt64 index, std::size_t lane) { sums.take(values[index], lane); });
    vlUInt64 const nbNaN = sumLanes(sums.nbNaN);
    vlUInt64 const nbPositive = sumLanes(sums.nbPositive);
    vlUInt64 const nbNegative = sumLanes(sums.nbNegative);
    _nbNaN += nbNaN;
    _nbPositive += nbPositive;
    _nbNegative += nbNegative;
    vlUInt64 const nbFinite = nb - nbNaN - nbPositive - nbNegative;
    if (nbFinite == 0) {
        return;
    }
    float const least = *std::min_element(sums.least.begin(), sums.least.end());
    float const greatest = *std::max_element(sums.greatest.begin(), sums.greatest.end());
    _minimum = _nbFinite == 0 ? least : std::min(_minimum, least);
    _maximum = _nbFinite == 0 ? greatest : std::max(_maximum, greatest);
    _nbFinite += nbFinite;
    double const mean = sumLanes(sums.sums) / static_cast<double>(nbFinite);
    _blocks.push_back({static_cast<double>(nbFinite), mean, sumSquares(values, nb, mean)});
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
