// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/Distribution.h"
#include "measure/PixelReader.h"

#include <optional>

namespace velmo::tool {

/// The sets of pixels that are measured apart.
enum class eGrouping { Image, Plane, Channel, Time };

struct StatisticsRequest {
    eGrouping grouping = eGrouping::Image;
    std::vector<double> percents;
    vlUInt64 nbHistogramParts = 0; ///< 0 for no histogram
    vlUInt64 nbThreads = 1;
};

/// The statistics of a set of pixels.
struct PixelStatistics {
    /// @{
    /// Indexes that the pixels share; empty where they do not share one.
    std::optional<vlUInt64> z;
    std::optional<vlUInt64> c;
    std::optional<vlUInt64> t;
    /// @}
    image::eImageBufferType type;
    TallySummary summary;
    std::vector<Percentile> percentiles;
    Histogram histogram;
};

/// Measures an image in one pass, in (t, c, z) order of the sets. The result does not depend on the number of
/// threads. Throws WorkFailure where the image has no pixels or
/// cannot be read, where pixels of several types would be
/// measured together and where there is no memory for the result; Interrupted.
std::vector<PixelStatistics> measureImage(PixelReader const& reader, StatisticsRequest const& request);

} // namespace velmo::tool
