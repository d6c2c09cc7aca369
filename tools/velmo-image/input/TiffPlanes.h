// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOBase/PageBuffer.h>
#include <VELMOImage/BaseImage.h>
#include <VELMOImage/ImageGeometry.h>
#include <mutex>
#include <optional>

namespace velmo::tool {

/// Runs of pixels of a TIFF image, which is read by whole planes, since each read of a run decodes its strips
/// from their first pixel on. The latest plane is held in memory. Any thread may read.
class TiffPlanes {
  public:
    explicit TiffPlanes(image::ImageConstPtr const& pImage);

    /// Fails with the image's message, and where there is no memory for a plane.
    BoolResult readPixels(image::PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer);

  private:
    BoolResult readPlane(image::PlanIndexes const& plane, void* buffer) const;
    BoolResult hold(image::PlanIndexes const& plane);

    image::ImageConstPtr const _pImage;
    std::mutex _mutex;
    PageBuffer _pixels;
    std::optional<vlUInt64> _heldPlane; ///< number of the plane in `_pixels`
};

} // namespace velmo::tool
