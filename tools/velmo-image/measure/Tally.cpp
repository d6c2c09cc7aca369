// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Tally.h"

#include "measure/BinnedTally.h"
#include "measure/CountedTally.h"
#include "measure/PixelValues.h"

namespace velmo::tool {

void FloatTally::take(std::byte const* pixels, vlUInt64 nbPixels) {
    // Blocks fit in the cache of a processor and have the size of those of the moments.
    constexpr vlUInt64 blockSize = vlUInt64{1} << 14;
    std::array<float, blockSize> values;
    std::array<std::uint32_t, blockSize> bits;
    for (vlUInt64 start = 0; start < nbPixels; start += blockSize) {
        vlUInt64 const nb = std::min(blockSize, nbPixels - start);
        std::memcpy(values.data(), pixels + start * sizeof(float), nb * sizeof(float));
        std::memcpy(bits.data(), values.data(), nb * sizeof(float));
        _moments.take(values.data(), nb);
        for (vlUInt64 index = 0; index < nb; ++index) {
            _bins.count(bits[index]);
        }
        std::uint32_t lostBits = 0;
        std::uint32_t nearZero = 0;
        for (vlUInt64 index = 0; index < nb; ++index) {
            std::uint32_t const lost = BinCounts::getLostBits(bits[index]);
            lostBits |= lost;
            nearZero |= bits[index] << 1U >> 24U == 0 ? lost : 0;
        }
        _lostBits |= lostBits;
        _lostBitsNearZero |= nearZero;
    }
}

void FloatTally::add(Tally const& other) {
    auto const& tally = dynamic_cast<FloatTally const&>(other);
    _bins.add(tally._bins);
    _moments.append(tally._moments);
    _lostBits |= tally._lostBits;
    _lostBitsNearZero |= tally._lostBitsNearZero;
}

TallySummary FloatTally::summarise() const {
    TallySummary summary;
    summary.nbFinite = _moments.getNbFinite();
    summary.nbNaN = _moments.getNbNaN();
    summary.nbPositiveInfinity = _moments.getNbPositiveInfinity();
    summary.nbNegativeInfinity = _moments.getNbNegativeInfinity();
    if (summary.nbFinite != 0) {
        BlockMoments const whole = _moments.getWhole();
        summary.minimum = static_cast<double>(_moments.getMinimum()) + 0.0; // -0 becomes 0
        summary.maximum = static_cast<double>(_moments.getMaximum()) + 0.0;
        summary.mean = whole.mean;
        summary.deviation = whole.getDeviation();
    }
    return summary;
}

void FloatTally::visitBins(std::function<void(TallyBin const&)> const& visit) const {
    visitBinsWithin(_bins, summarise(), visit,
                    [this](double bound, double beyond) { return _lostBits == 0 ? bound : beyond; });
}

std::unique_ptr<Tally> createTally(image::eImageBufferType type) {
    return withValueType(type, [](auto zero) -> std::unique_ptr<Tally> {
        using Value = decltype(zero);
        if constexpr (std::is_floating_point_v<Value>) {
            return std::make_unique<FloatTally>();
        } else if constexpr (sizeof(Value) == sizeof(std::uint32_t)) {
            return std::make_unique<IntegerTally<Value>>();
        } else {
            return std::make_unique<CountedTally<Value>>();
        }
    });
}

} // namespace velmo::tool
