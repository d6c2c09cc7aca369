// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <optional>

namespace velmo {

/// The product; empty if it overflows 64 bits.
inline std::optional<std::uint64_t> checkedMultiply(std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product)) {
        return std::nullopt;
    }
    return product;
}

/// The sum; empty if it overflows 64 bits.
inline std::optional<std::uint64_t> checkedAdd(std::uint64_t a, std::uint64_t b) {
    std::uint64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        return std::nullopt;
    }
    return sum;
}

/// The quotient, rounded up. `divisor` must not be 0.
inline std::uint64_t divideUp(std::uint64_t value, std::uint64_t divisor) {
    return value / divisor + (value % divisor == 0 ? 0 : 1);
}

} // namespace velmo
