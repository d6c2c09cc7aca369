// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <limits>

namespace velmo {

/// Unsigned 64-bit integer for all sizes, offsets and indexes (`unsigned long` on Linux x86-64).
using vlUInt64 = unsigned long;
static_assert(sizeof(vlUInt64) == 8, "sizes of images and files are counted in 64 bits");

/// Limits of a number type.
template <class T>
struct NumericLimits {
    /// @{
    /// The largest and the smallest value.
    static constexpr T s_max = std::numeric_limits<T>::max();
    static constexpr T s_min = std::numeric_limits<T>::lowest();
    /// @}
};

} // namespace velmo
