// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace velmo::tool {

/// For people: whole numbers of up to 15 digits in full, other numbers rounded to `nbDigits` digits.
std::string toText(double value, int nbDigits = 10);
/// The shortest text from which the number comes back bit-exact.
std::string toExactText(double value);
/// Whole numbers of up to 15 digits without a decimal point; null for NaN and infinities.
nlohmann::ordered_json toJsonNumber(double value);

} // namespace velmo::tool
