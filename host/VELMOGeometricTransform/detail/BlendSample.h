// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmo::imaproc::gtrans {

/// Integers are rounded to nearest, halves away from zero, and clamped to the range of their type.
template <class Sample>
Sample toSample(double value) {
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<Sample>(value);
    } else {
        constexpr auto lowest = static_cast<double>(NumericLimits<Sample>::s_min);
        constexpr auto highest = static_cast<double>(NumericLimits<Sample>::s_max);
        // What is negative becomes 0 in a type without a sign, whichever way it is rounded.
        double const rounded = value + (std::is_signed_v<Sample> ? std::copysign(0.5, value) : 0.5);
        double const clamped = rounded < lowest ? lowest : rounded > highest ? highest : rounded;
        using Wide = std::conditional_t<sizeof(Sample) < 4, std::int32_t, std::int64_t>;
        return static_cast<Sample>(static_cast<Wide>(clamped));
    }
}

// Samples lie at any byte: a plane of several types in one memory begins where the one before ends.

template <class Sample>
Sample loadSample(std::byte const* pSamples, vlUInt64 index) {
    Sample sample;
    std::memcpy(&sample, pSamples + index * sizeof(Sample), sizeof(Sample));
    return sample;
}

template <class Sample>
void storeSample(std::byte* pSamples, vlUInt64 index, Sample sample) {
    std::memcpy(pSamples + index * sizeof(Sample), &sample, sizeof(Sample));
}

/// The difference of `other` from `base`, weighted.
template <class Sample>
double weigh(double weight, Sample base, Sample other) {
    return weight * (static_cast<double>(other) - static_cast<double>(base));
}

/// Linear interpolation of two samples. Floating-point samples use the sum of both parts, since the
/// difference of infinities is NaN.
template <class Sample>
Sample blendSample(double weight, Sample base, Sample other) {
    if constexpr (std::is_floating_point_v<Sample>) {
        return static_cast<Sample>((1 - weight) * static_cast<double>(base) +
                                   weight * static_cast<double>(other));
    } else {
        return toSample<Sample>(static_cast<double>(base) + weigh(weight, base, other));
    }
}

} // namespace velmo::imaproc::gtrans
