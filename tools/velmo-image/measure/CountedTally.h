// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/Moments.h"
#include "measure/PixelValues.h"
#include "measure/Tally.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

namespace velmo::tool {

/// Integers of 8 or 16 bits: a count for each value.
template <class Value>
class CountedTally : public Tally {
  public:
    void take(std::byte const* pixels, vlUInt64 nbPixels) override {
        for (vlUInt64 start = 0; start < nbPixels;) {
            vlUInt64 const nb = std::min(nbPixels - start, g_maxRecent - _nbRecent);
            count(pixels + start * sizeof(Value), nb);
            _nbRecent += nb;
            start += nb;
            if (_nbRecent == g_maxRecent) {
                settle();
            }
        }
    }

    void add(Tally const& other) override {
        auto const& tally = dynamic_cast<CountedTally const&>(other);
        _totals.resize(g_nbValues);
        addTotals(tally._totals);
        addRecent(tally._recent);
    }

    void close() override {
        settle();
        _recent = {};
        while (_first <= _last && _totals[static_cast<Bits>(_first)] == 0) {
            ++_first;
        }
        while (_first <= _last && _totals[static_cast<Bits>(_last)] == 0) {
            --_last;
        }
    }

    TallySummary summarise() const override {
        TallySummary summary;
        IntegerSums sums;
        visitCounts([&](std::int64_t value, vlUInt64 nb) {
            summary.minimum = summary.nbFinite == 0 ? static_cast<double>(value) : summary.minimum;
            summary.maximum = static_cast<double>(value);
            summary.nbFinite += nb;
            sums.add(value, nb);
        });
        if (summary.nbFinite != 0) {
            summary.mean = sums.getMean();
            summary.deviation = sums.getDeviation();
        }
        return summary;
    }

    void visitBins(std::function<void(TallyBin const&)> const& visit) const override {
        visitCounts([&](std::int64_t value, vlUInt64 nb) {
            visit({static_cast<double>(value), static_cast<double>(value), nb});
        });
    }

  private:
    using Bits = std::make_unsigned_t<Value>;
    static constexpr std::size_t g_nbValues = std::size_t{1} << (8 * sizeof(Value));
    /// Neighbouring pixels often have the same value: each is added to another count.
    static constexpr std::size_t g_nbLanes = 4;
    static constexpr vlUInt64 g_maxRecent = std::numeric_limits<std::uint32_t>::max();

    void count(std::byte const* pixels, vlUInt64 nbPixels) {
        if (_recent.empty()) { // few pixels are not worth the memory of several lanes
            _recent.resize((nbPixels < g_nbValues ? 1 : g_nbLanes) * g_nbValues);
        }
        if (_recent.size() == g_nbValues) {
            countInLanes<1>(pixels, nbPixels);
        } else {
            countInLanes<g_nbLanes>(pixels, nbPixels);
        }
    }

    template <std::size_t nbLanes>
    void countInLanes(std::byte const* pixels, vlUInt64 nbPixels) {
        std::uint32_t* const pRecent = _recent.data();
        vlUInt64 const nbFull = nbPixels / nbLanes * nbLanes;
        for (vlUInt64 first = 0; first < nbFull; first += nbLanes) {
            Bits values[nbLanes];
            std::memcpy(values, pixels + first * sizeof(Value), sizeof(values));
            for (std::size_t lane = 0; lane < nbLanes; ++lane) {
                ++pRecent[lane * g_nbValues + values[lane]];
            }
        }
        for (vlUInt64 index = nbFull; index < nbPixels; ++index) {
            ++pRecent[loadValue<Bits>(pixels, index)];
        }
    }

    void addTotals(std::vector<vlUInt64> const& totals) {
        for (std::size_t index = 0; index < totals.size(); ++index) {
            _totals[index] += totals[index];
        }
    }

    void addRecent(std::vector<std::uint32_t> const& recent) {
        for (std::size_t first = 0; first < recent.size(); first += g_nbValues) {
            for (std::size_t index = 0; index < g_nbValues; ++index) {
                _totals[index] += recent[first + index];
            }
        }
    }

    /// Moves the recent counts to the totals.
    void settle() {
        _totals.resize(g_nbValues);
        addRecent(_recent);
        std::fill(_recent.begin(), _recent.end(), 0U);
        _nbRecent = 0;
    }

    /// In ascending order.
    template <class Visit>
    void visitCounts(Visit const& visit) const {
        for (std::int64_t value = _first; value <= _last; ++value) {
            vlUInt64 const nb = _totals[static_cast<Bits>(value)];
            if (nb != 0) {
                visit(value, nb);
            }
        }
    }

    std::vector<std::uint32_t> _recent; ///< empty before the first pixel
    vlUInt64 _nbRecent = 0;
    std::int64_t _first = std::numeric_limits<Value>::min(); ///< value that occurs, after the counting
    std::int64_t _last = std::numeric_limits<Value>::max();
    std::vector<vlUInt64> _totals; ///< without the recent pixels; empty before the first addition
};

} // namespace velmo::tool
