// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/BinCounts.h"
#include "measure/Moments.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace velmo::tool {

/// Visits bins whose bounds are limited to minimum and maximum. `getFarthest` makes the last value of a bin
/// of the bound beyond it.
template <class GetFarthest>
void visitBinsWithin(BinCounts const& bins, TallySummary const& summary,
                     std::function<void(TallyBin const&)> const& visit, GetFarthest const& getFarthest) {
    auto const limit = [&](double value) { return std::clamp(value, summary.minimum, summary.maximum); };
    bins.visit([&](double bound, double beyond, vlUInt64 nb) {
        visit({limit(bound), limit(getFarthest(bound, beyond)), nb});
    });
}

/// Integers of 32 bits.
template <class Value>
class IntegerTally : public Tally {
  public:
    void take(std::byte const* pixels, vlUInt64 nbPixels) override {
        for (vlUInt64 start = 0; start < nbPixels; start += g_blockPixels) {
            takeBlock(pixels + start * sizeof(Value), std::min(g_blockPixels, nbPixels - start));
        }
    }

    void add(Tally const& other) override {
        auto const& tally = dynamic_cast<IntegerTally const&>(other);
        _bins.add(tally._bins);
        _sums.add(tally._sums);
        _lostBits |= tally._lostBits;
        _nb += tally._nb;
        _minimum = std::min(_minimum, tally._minimum);
        _maximum = std::max(_maximum, tally._maximum);
    }

    TallySummary summarise() const override {
        TallySummary summary;
        summary.nbFinite = _nb;
        if (_nb != 0) {
            summary.minimum = static_cast<double>(_minimum);
            summary.maximum = static_cast<double>(_maximum);
            summary.mean = _sums.getMean();
            summary.deviation = _sums.getDeviation();
        }
        return summary;
    }

    void visitBins(std::function<void(TallyBin const&)> const& visit) const override {
        visitBinsWithin(_bins, summarise(), visit, [this](double bound, double beyond) {
            double const last = beyond > bound ? beyond - 1 : beyond + 1; // or between bound and beyond
            return _lostBits == 0 || std::abs(beyond - bound) <= 1 ? bound : last;
        });
    }

  private:
    /// So few that the sums of a block fit in 64 bits.
    static constexpr vlUInt64 g_blockPixels = vlUInt64{1} << 14;

    void takeBlock(std::byte const* pixels, vlUInt64 nb) {
        std::array<Value, g_blockPixels> values;
        std::memcpy(values.data(), pixels, nb * sizeof(Value));
        Value least = values[0];
        Value greatest = values[0];
        std::int64_t sum = 0;
        vlUInt64 squaresLow = 0;
        vlUInt64 squaresHigh = 0;
        for (vlUInt64 index = 0; index < nb; ++index) {
            Value const value = values[index];
            least = value < least ? value : least;
            greatest = value > greatest ? value : greatest;
            sum += value;
            vlUInt64 const magnitude = getMagnitude(value);
            squaresLow += magnitude * magnitude & 0xFFFFFFFFU;
            squaresHigh += magnitude * magnitude >> 32U;
        }
        _minimum = std::min(_minimum, least);
        _maximum = std::max(_maximum, greatest);
        for (vlUInt64 index = 0; index < nb; ++index) {
            count(values[index]);
        }
        _sums.add(nb, sum, squaresLow, squaresHigh);
        _nb += nb;
    }

    static std::uint32_t getMagnitude(Value value) {
        auto const bits = static_cast<std::uint32_t>(value);
        return value < 0 ? 0U - bits : bits;
    }

    /// By the floating-point number that has the first digits of the integer.
    void count(Value value) {
        std::uint32_t const magnitude = getMagnitude(value);
        std::uint32_t const first = magnitude >> 24U != 0 ? magnitude & ~0xFFU : magnitude;
        auto const number = static_cast<float>(static_cast<std::int64_t>(first));
        std::uint32_t bits = 0;
        std::memcpy(&bits, &number, sizeof(bits));
        _lostBits |= (magnitude ^ first) | BinCounts::getLostBits(bits);
        _bins.count(bits | (value < 0 ? 0x80000000U : 0U));
    }

    BinCounts _bins;
    IntegerSums _sums;
    std::uint32_t _lostBits = 0; ///< 0 if the bound of its bin is the value of each pixel
    vlUInt64 _nb = 0;
    Value _minimum = std::numeric_limits<Value>::max();
    Value _maximum = std::numeric_limits<Value>::min();
};

/// Floating-point numbers.
class FloatTally : public Tally {
  public:
    void take(std::byte const* pixels, vlUInt64 nbPixels) override;
    void add(Tally const& other) override;
    TallySummary summarise() const override;
    void visitBins(std::function<void(TallyBin const&)> const& visit) const override;

  private:
    BinCounts _bins;
    FloatMoments _moments;
    std::uint32_t _lostBits = 0;         ///< 0 if the bound of its bin is the value of each pixel
    std::uint32_t _lostBitsNearZero = 0; ///< the same of the pixels of the smallest exponent
};

} // namespace velmo::tool
