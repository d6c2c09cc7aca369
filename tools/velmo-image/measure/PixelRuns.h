// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>

namespace velmo::tool {

/// A run of pixels of a plane. With several channels: the same run of the planes {z, c, t},
/// {z, c + 1, t} and so on.
struct PixelRun {
    image::PlanIndexes plane;
    vlUInt64 nbChannels;
    vlUInt64 start;
    vlUInt64 nbPixels; ///< of each channel
};

/// How the planes of an image are cut into runs: at fixed places, whatever the number of threads.
struct RunLayout {
    vlUInt64 nbChannels;     ///< of a run: 1, or all channels
    vlUInt64 nbPlanePixels;  ///< of one plane
    vlUInt64 nbRunPixels;    ///< of each run but the last one of a plane
    vlUInt64 nbRunsPerPlane; ///< 0 without pixels

    PixelRun getRun(image::PlanIndexes const& plane, vlUInt64 index) const;

    /// The runs of all planes in (t, c, z) order.
    vlUInt64 countRuns(image::BaseImageGeometry const& geometry) const;
    PixelRun getRun(image::BaseImageGeometry const& geometry, vlUInt64 number) const;
};

/// Sizes of the runs. With `bWholePlanes` a run is a plane, with `bAllChannels` it has all channels.
RunLayout layOutRuns(image::BaseImageGeometry const& geometry, bool bWholePlanes, bool bAllChannels);

} // namespace velmo::tool
