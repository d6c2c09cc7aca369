// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <optional>

namespace velmo::tool {

/// A fraction as TIFF tags hold it.
struct Rational {
    std::uint32_t numerator;
    std::uint32_t denominator;
};

/// A simple fraction in lowest terms that differs from a value by a share of `tolerance` at most; where there
/// is none, the nearest that there is. None for what is not positive, and for values that are out of reach.
std::optional<Rational> findRational(double value, double tolerance);

} // namespace velmo::tool
