// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/Tally.h"

#include <vector>

namespace velmo::tool {

/// The value below which a part of the finite pixels lies.
struct Percentile {
    double percent; ///< 0 to 100
    double value;   ///< 0 without pixels
    double error;   ///< at most; 0 if the value is exact
};

/// The percentiles of a tally, in the order of `percents`. A percentile that falls between two pixels is
/// interpolated linearly.
std::vector<Percentile> findPercentiles(Tally const& tally, std::vector<double> const& percents);

/// Numbers of finite pixels in equal parts of the range from `low` to `high`. A part has its lower bound, the
/// last one also its upper one.
struct Histogram {
    double low = 0;
    double high = 0;
    std::vector<vlUInt64> counts;
    bool bExact = true; ///< false if pixels near a bound may be in the part beside theirs
};

/// From the minimum to the maximum; if they are equal, from 0.5 below to 0.5 above. Without pixels all counts
/// are 0.
Histogram createHistogram(Tally const& tally, vlUInt64 nbParts);

} // namespace velmo::tool
