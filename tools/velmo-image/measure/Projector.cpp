// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Projector.h"

#include "measure/PixelValues.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace velmo::tool {

namespace {

using namespace image;

/// Whether the sum of any `nb` integers of a type is in the range of another one of the same sign.
template <class Value, class Sum>
bool fits(vlUInt64 nb) {
    auto const greatest = checkedMultiply(nb, static_cast<vlUInt64>(std::numeric_limits<Value>::max()));
    vlUInt64 const depth = std::is_signed_v<Value> ? 1 : 0; // the least value is one farther from 0
    auto const farthest = greatest ? checkedAdd(*greatest, depth * nb) : std::nullopt;
    return farthest && *farthest <= static_cast<vlUInt64>(std::numeric_limits<Sum>::max()) + depth;
}

template <class Value>
using Sum32 = std::conditional_t<std::is_signed_v<Value>, std::int32_t, std::uint32_t>;
template <class Value>
using Sum64 = std::conditional_t<std::is_signed_v<Value>, std::int64_t, std::uint64_t>;

template <class Value>
bool isNaN(Value value) {
    if constexpr (std::is_floating_point_v<Value>) {
        return std::isnan(value);
    } else {
        return false;
    }
}

/// Maximum or minimum.
template <class Value, bool bMaximum>
class ExtremeProjector : public Projector {
  public:
    void begin(vlUInt64 nbPixels) override {
        _bFirst = true;
        _values.resize(nbPixels);
    }

    void take(std::byte const* pixels) override {
        if (_bFirst) {
            std::memcpy(_values.data(), pixels, _values.size() * sizeof(Value));
            _bFirst = false;
            return;
        }
        Value* const pValues = _values.data();
        vlUInt64 const nb = _values.size();
        for (vlUInt64 index = 0; index < nb; ++index) {
            auto const value = loadValue<Value>(pixels, index);
            Value const kept = pValues[index];
            // A NaN that is kept is neither greater nor less than any value.
            bool const bTaken = (bMaximum ? value > kept : value < kept) || isNaN(value);
            pValues[index] = bTaken ? value : kept;
        }
    }

    bool finish(std::byte* pixels) const override {
        std::memcpy(pixels, _values.data(), _values.size() * sizeof(Value));
        return true;
    }

  private:
    bool _bFirst = true;
    std::vector<Value> _values;
};

/// Sums of values, written as they are or divided by `divisor`.
template <class Value, class Sum, class Output>
class SumProjector : public Projector {
  public:
    explicit SumProjector(double divisor) : _divisor(divisor) {}

    void begin(vlUInt64 nbPixels) override { _sums.assign(nbPixels, Sum{}); }

    void take(std::byte const* pixels) override {
        Sum* const pSums = _sums.data();
        vlUInt64 const nb = _sums.size();
        for (vlUInt64 index = 0; index < nb; ++index) {
            pSums[index] += static_cast<Sum>(loadValue<Value>(pixels, index));
        }
    }

    bool finish(std::byte* pixels) const override {
        bool bInRange = true;
        for (std::size_t index = 0; index < _sums.size(); ++index) {
            Output const output = convert(_sums[index]);
            if constexpr (std::is_floating_point_v<Sum>) {
                bInRange = bInRange && (std::isfinite(output) || !std::isfinite(_sums[index]));
            }
            std::memcpy(pixels + index * sizeof(Output), &output, sizeof(Output));
        }
        return bInRange;
    }

  private:
    Output convert(Sum sum) const {
        if constexpr (std::is_integral_v<Output>) {
            return sum;
        } else {
            return static_cast<Output>(static_cast<double>(sum) / _divisor);
        }
    }

    double _divisor;
    std::vector<Sum> _sums;
};

template <class Value>
std::unique_ptr<Projector> createSum(bool bMean, vlUInt64 nb) {
    double const divisor = bMean ? static_cast<double>(nb) : 1.0;
    if constexpr (std::is_floating_point_v<Value>) {
        return std::make_unique<SumProjector<Value, double, float>>(divisor);
    } else {
        if (fits<Value, Sum32<Value>>(nb)) {
            if (bMean) {
                return std::make_unique<SumProjector<Value, Sum32<Value>, float>>(divisor);
            }
            return std::make_unique<SumProjector<Value, Sum32<Value>, Sum32<Value>>>(divisor);
        }
        if (!fits<Value, Sum64<Value>>(nb)) {
            throw WorkFailure("has so many planes that their sum may overflow 64 bits");
        }
        return std::make_unique<SumProjector<Value, Sum64<Value>, float>>(divisor);
    }
}

bool isLabels(eImageBufferType type) {
    return type == eIBT_Label8 || type == eIBT_Label16 || type == eIBT_Label32;
}

} // namespace

eImageBufferType getProjectedType(eImageBufferType type, eProjection projection, vlUInt64 nb) {
    if (projection == eProjection::Maximum || projection == eProjection::Minimum) {
        return type;
    }
    return withValueType(type, [&](auto zero) {
        using Value = decltype(zero);
        if constexpr (std::is_integral_v<Value>) {
            if (projection == eProjection::Sum && fits<Value, Sum32<Value>>(nb)) {
                constexpr bool bSigned = std::is_signed_v<Value>;
                return bSigned ? eIBT_Int32 : eIBT_UInt32;
            }
        }
        return eIBT_Real32;
    });
}

std::unique_ptr<Projector> createProjector(eImageBufferType type, eProjection projection, vlUInt64 nb) {
    return withValueType(type, [&](auto zero) -> std::unique_ptr<Projector> {
        using Value = decltype(zero);
        switch (projection) {
        case eProjection::Maximum:
            return std::make_unique<ExtremeProjector<Value, true>>();
        case eProjection::Minimum:
            return std::make_unique<ExtremeProjector<Value, false>>();
        case eProjection::Mean:
        case eProjection::Sum:
            break;
        }
        if (isLabels(type)) {
            throw WorkFailure("has labels, which have no mean and no sum; use --by max or min");
        }
        return createSum<Value>(projection == eProjection::Mean, nb);
    });
}

} // namespace velmo::tool
