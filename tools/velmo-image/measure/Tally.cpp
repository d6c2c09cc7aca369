// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Tally.h"

#include "measure/BinnedTally.h"
#include "measure/CountedTally.h"
#include "terminal/Failure.h"

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
        std::uint32_t lostBits = 0;
        for (vlUInt64 index = 0; index < nb; ++index) {
            _bins.count(bits[index]);
            lostBits |= BinCounts::getLostBits(bits[index]);
        }
        _lostBits |= lostBits;
    }
}

void FloatTally::add(Tally const& other) {
    auto const& tally = dynamic_cast<FloatTally const&>(other);
    _bins.add(tally._bins);
    _moments.append(tally._moments);
    _lostBits |= tally._lostBits;
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
    switch (image::toDataType(type)) {
    case image::eDT_Int8:
        return std::make_unique<CountedTally<std::int8_t>>();
    case image::eDT_UInt8:
        return std::make_unique<CountedTally<std::uint8_t>>();
    case image::eDT_Int16:
        return std::make_unique<CountedTally<std::int16_t>>();
    case image::eDT_UInt16:
        return std::make_unique<CountedTally<std::uint16_t>>();
    case image::eDT_Int32:
        return std::make_unique<IntegerTally<std::int32_t>>();
    case image::eDT_UInt32:
        return std::make_unique<IntegerTally<std::uint32_t>>();
    case image::eDT_Real32:
        return std::make_unique<FloatTally>();
    case image::eDT_None:
        break;
    }
    throw WorkFailure("pixels without a type cannot be measured");
}

} // namespace velmo::tool
