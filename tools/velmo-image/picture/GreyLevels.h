// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CheckedParsing.h"

#include <vector>

namespace velmo::tool {

/// Levels from 0 (black) to 255, linearly over the range and the other way round without `bMinIsBlack`.
/// Values outside of the range become the nearer end of it; one that is not a number is black. Over a range
/// of a single value, that value is its low end.
std::vector<unsigned char> toGreyLevels(std::vector<double> const& values, ValueRange const& range,
                                        bool bMinIsBlack);

} // namespace velmo::tool
