// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <optional>

namespace velmo {
namespace tool {

/// A fraction as TIFF tags hold it.
struct Rational {
    std::uint32_t numerator;
    std::uint32_t denominator;
};

/// The fraction nearest to a value, in lowest terms; the simplest one of those that are as near as the value
/// is exact. None for what is not positive, and for values that no such fraction comes near to.
std::optional<Rational> findNearestRational(double value);

} // namespace tool
} // namespace velmo
