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

/// A simple fraction in lowest terms whose relative error is at most `tolerance`; where there is none, the
/// nearest fraction. Empty for values that are not positive, too small or too large.
std::optional<Rational> findRational(double value, double tolerance);

} // namespace velmo::tool
