// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/GreyLevels.h"

#include <algorithm>
#include <cmath>

namespace velmo::tool {

namespace {

/// Halves keep the difference of any two finite values finite.
double getShare(double value, ValueRange const& range) {
    double const clamped = std::clamp(value, range.low, range.high);
    return range.low < range.high ? (clamped / 2 - range.low / 2) / (range.high / 2 - range.low / 2) : 0.0;
}

} // namespace

std::vector<unsigned char> toGreyLevels(std::vector<double> const& values, ValueRange const& range,
                                        bool bMinIsBlack) {
    std::vector<unsigned char> levels(values.size());
    std::transform(values.begin(), values.end(), levels.begin(), [&](double value) {
        if (std::isnan(value)) {
            return static_cast<unsigned char>(0);
        }
        double const share = getShare(value, range);
        return static_cast<unsigned char>(std::lround(255 * (bMinIsBlack ? share : 1 - share)));
    });
    return levels;
}

} // namespace velmo::tool
