// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/PixelConversion.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace velmo::tool {

namespace {

using namespace image;

/// Calls `work` with a value of the C++ type of the pixels.
template <class Work>
void withPixelType(eImageBufferType type, Work const& work) {
    switch (toDataType(type)) {
    case eDT_Int8:
        return work(std::int8_t{});
    case eDT_UInt8:
        return work(std::uint8_t{});
    case eDT_Int16:
        return work(std::int16_t{});
    case eDT_UInt16:
        return work(std::uint16_t{});
    case eDT_Int32:
        return work(std::int32_t{});
    case eDT_UInt32:
        return work(std::uint32_t{});
    case eDT_Real32:
        return work(float{});
    case eDT_None:
        break;
    }
}

struct Counts {
    vlUInt64 nbClamped = 0;
    vlUInt64 nbRounded = 0;
    vlUInt64 nbNaN = 0;
};

/// The values of one run of pixels.
class Converter {
  public:
    Converter(PixelConversion const& conversion, bool bFromMask)
        : _bFromMask(bFromMask), _bScaled(conversion.range.has_value()),
          _bReal(toDataType(conversion.type) == eDT_Real32),
          _from(conversion.range.value_or(ValueRange{0, 1})), _to(getFullRange(conversion.type)) {}

    template <class From, class To>
    void convert(From const* pFrom, To* pTo, vlUInt64 nbValues) {
        for (vlUInt64 index = 0; index < nbValues; ++index) {
            auto const stored = static_cast<double>(pFrom[index]);
            double const value = _bFromMask && stored != 0 ? 1 : stored;
            pTo[index] = static_cast<To>(_bReal ? toReal(value) : toInteger(value));
        }
    }

    Counts const& getCounts() const { return _counts; }

  private:
    double scale(double value) const {
        return _bScaled ? (value - _from.low) / (_from.high - _from.low) * (_to.high - _to.low) + _to.low
                        : value;
    }

    double clamp(double value) {
        bool const bInside = value >= _to.low && value <= _to.high;
        _counts.nbClamped += bInside ? 0 : 1;
        return bInside ? value : value < _to.low ? _to.low : _to.high;
    }

    double toReal(double value) {
        if (_bScaled && !std::isnan(value)) {
            return clamp(scale(value));
        }
        auto const real = static_cast<float>(value);
        _counts.nbRounded += static_cast<double>(real) == value || std::isnan(value) ? 0 : 1;
        return static_cast<double>(real);
    }

    double toInteger(double value) {
        if (std::isnan(value)) {
            ++_counts.nbNaN;
            return 0;
        }
        double const scaled = scale(value);
        double const rounded = std::nearbyint(scaled);
        double const clamped = clamp(rounded);
        _counts.nbRounded += !_bScaled && clamped == rounded && rounded != scaled ? 1 : 0;
        return clamped;
    }

    bool const _bFromMask; ///< whose pixels are 0 and 1: any other byte than 0 counts as 1
    bool const _bScaled;
    bool const _bReal;
    ValueRange const _from;
    ValueRange const _to;
    Counts _counts;
};

} // namespace

ValueRange getFullRange(eImageBufferType type) {
    ValueRange range = {0, 1};
    withPixelType(type == eIBT_Binary ? eIBT_Real32 : type, [&](auto value) {
        using Value = decltype(value);
        if constexpr (std::is_integral_v<Value>) {
            range = {static_cast<double>(std::numeric_limits<Value>::min()),
                     static_cast<double>(std::numeric_limits<Value>::max())};
        }
    });
    return range;
}

void convertPixels(void const* pFrom, eImageBufferType fromType, void* pTo, PixelConversion const& conversion,
                   vlUInt64 nbValues, ConversionCounts& counts) {
    Converter converter(conversion, fromType == eIBT_Binary);
    withPixelType(fromType, [&](auto from) {
        withPixelType(conversion.type, [&](auto to) {
            converter.convert(static_cast<decltype(from) const*>(pFrom), static_cast<decltype(to)*>(pTo),
                              nbValues);
        });
    });
    counts.nbClamped += converter.getCounts().nbClamped;
    counts.nbRounded += converter.getCounts().nbRounded;
    counts.nbNaN += converter.getCounts().nbNaN;
}

} // namespace velmo::tool
