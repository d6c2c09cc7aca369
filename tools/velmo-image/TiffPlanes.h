// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/PageBuffer.h>
#include <mutex>
#include <optional>
#include <string>

namespace velmo {
namespace tool {

/// Runs of pixels of a TIFF image, which is asked for whole planes alone: what a run costs or gives there
/// depends on the pixels around it (strips are decoded from their first pixel on, stacks are read by the
/// plane). The latest plane is held in memory. Any thread may read.
class TiffPlanes {
  public:
    /// `source` is what messages call the place of the pixels.
    TiffPlanes(image::ImageConstPtr const& pImage, std::string const& source);

    /// Fails with the image's words; where there is no memory for a plane; and where libtiff reports an error
    /// that reading colours passes over.
    BoolResult readPixels(image::PlanIndexes const& plan, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer);

  private:
    BoolResult readPlane(image::PlanIndexes const& plan, void* buffer) const;
    BoolResult hold(image::PlanIndexes const& plan);
    BoolResult makeRoom(vlUInt64 nbBytes);

    image::ImageConstPtr const _pImage;
    std::string const _source;
    std::mutex _mutex;
    PageBuffer _pixels;
    std::optional<vlUInt64> _heldPlan; ///< number of the plane in `_pixels`
};

} // namespace tool
} // namespace velmo
