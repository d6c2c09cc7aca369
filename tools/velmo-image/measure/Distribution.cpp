// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Distribution.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velmo::tool {

namespace {

/// The pixel of a rank, counted from 0 in ascending order.
struct RankedPixel {
    vlUInt64 rank;
    double value;
    double error;
};

/// Between which pixels a percentile lies.
struct Position {
    vlUInt64 lower;
    vlUInt64 upper;
    double fraction; ///< of the way to the upper one
};

Position locate(double percent, vlUInt64 nb) {
    auto const last = static_cast<double>(nb - 1);
    double const place = percent / 100 * last;
    auto const lower = std::min(static_cast<vlUInt64>(place), nb - 1);
    return {lower, std::min(lower + 1, nb - 1), place - std::floor(place)};
}

/// Fills values and errors of pixels that are sorted by rank.
void findPixels(Tally const& tally, std::vector<RankedPixel>& pixels) {
    vlUInt64 nbBefore = 0;
    auto next = pixels.begin();
    tally.visitBins([&](TallyBin const& bin) {
        nbBefore += bin.nb;
        for (; next != pixels.end() && next->rank < nbBefore; ++next) {
            next->value = bin.value;
            next->error = std::abs(bin.farthest - bin.value);
        }
    });
}

RankedPixel const& getPixel(std::vector<RankedPixel> const& pixels, vlUInt64 rank) {
    return *std::lower_bound(pixels.begin(), pixels.end(), rank,
                             [](RankedPixel const& pixel, vlUInt64 asked) { return pixel.rank < asked; });
}

/// The number of the part that has a value.
class Parts {
  public:
    Parts(double low, double high, vlUInt64 nb)
        : _low(low), _high(high), _nb(nb), _step((high - low) / static_cast<double>(nb)) {}

    vlUInt64 find(double value) const {
        auto index = static_cast<vlUInt64>((value - _low) / (_high - _low) * static_cast<double>(_nb));
        index = std::min(index, _nb - 1);
        if (index > 0 && value < getBound(index)) {
            return index - 1;
        }
        return index + 1 < _nb && value >= getBound(index + 1) ? index + 1 : index;
    }

  private:
    double getBound(vlUInt64 index) const { return _low + static_cast<double>(index) * _step; }

    double _low;
    double _high;
    vlUInt64 _nb;
    double _step;
};

} // namespace

std::vector<Percentile> findPercentiles(Tally const& tally, std::vector<double> const& percents) {
    std::vector<Percentile> percentiles;
    vlUInt64 const nb = tally.summarise().nbFinite;
    std::vector<RankedPixel> pixels;
    for (double const percent : percents) {
        percentiles.push_back({percent, 0, 0});
        if (nb != 0) {
            Position const position = locate(percent, nb);
            pixels.push_back({position.lower, 0, 0});
            pixels.push_back({position.upper, 0, 0});
        }
    }
    std::sort(pixels.begin(), pixels.end(),
              [](RankedPixel const& left, RankedPixel const& right) { return left.rank < right.rank; });
    findPixels(tally, pixels);
    for (std::size_t index = 0; index < percentiles.size() && nb != 0; ++index) {
        Position const position = locate(percents[index], nb);
        RankedPixel const& lower = getPixel(pixels, position.lower);
        RankedPixel const& upper = getPixel(pixels, position.upper);
        percentiles[index].value = lower.value + (upper.value - lower.value) * position.fraction;
        percentiles[index].error = std::max(lower.error, upper.error);
    }
    return percentiles;
}

Histogram createHistogram(Tally const& tally, vlUInt64 nbParts) {
    TallySummary const summary = tally.summarise();
    Histogram histogram;
    histogram.counts.resize(nbParts);
    bool const bConstant = summary.minimum == summary.maximum;
    histogram.low = summary.minimum - (bConstant ? 0.5 : 0);
    histogram.high = summary.maximum + (bConstant ? 0.5 : 0);
    if (histogram.low == histogram.high) { // so large that 0.5 makes no difference
        histogram.counts[nbParts / 2] = summary.nbFinite;
        return histogram;
    }
    Parts const parts(histogram.low, histogram.high, nbParts);
    tally.visitBins([&](TallyBin const& bin) {
        vlUInt64 const part = parts.find(bin.value);
        histogram.counts[part] += bin.nb;
        histogram.bExact = histogram.bExact && part == parts.find(bin.farthest);
    });
    return histogram;
}

} // namespace velmo::tool
