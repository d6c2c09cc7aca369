// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

#include <optional>

namespace velmo {

/// Arithmetic on sizes that cannot wrap: empty where the true result does not fit in 64 bits.
inline std::optional<vlUInt64> checkedMultiply(vlUInt64 a, vlUInt64 b) {
    vlUInt64 product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        return std::nullopt;
    }
    return product;
}

/// As `checkedMultiply`.
inline std::optional<vlUInt64> checkedAdd(vlUInt64 a, vlUInt64 b) {
    vlUInt64 sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        return std::nullopt;
    }
    return sum;
}

/// The quotient, rounded up; `divisor` is not 0.
inline vlUInt64 divideUp(vlUInt64 value, vlUInt64 divisor) {
    return value / divisor + (value % divisor == 0 ? 0 : 1);
}

} // namespace velmo
