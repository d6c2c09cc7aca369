// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"
#include "VELMOImage/JoinLayout.h"

namespace velmo::image {

/// Images joined along one axis without a copy. Pixels stay in the parts, which the image co-owns. It has the
/// calibration of the first part.
class VELMO_HOST_EXPORT JoinedImage : public BaseImage {
  public:
    /// Joins parts that `JoinLayout::init` accepts. After a failure the image is unchanged.
    BoolResult join(std::vector<ImagePtr> const& parts, eJoinAxis axis);

    bool requiresCpuCopy() const override;
    bool isStoredIn(boost::filesystem::path const& path) const override;

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;
    void* accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const override;

    JoinLayout _layout;
    std::vector<ImagePtr> _parts;
};

} // namespace velmo::image
