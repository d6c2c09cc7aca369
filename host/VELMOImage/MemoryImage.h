// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstddef>
#include <memory>

namespace velmo::image {

/// An image in one contiguous allocation, planes in (t, c, z) order. From 4 MiB it requests huge pages from
/// the kernel. `init` rejects an image that is larger than the available memory; the message has both sizes.
class VELMO_HOST_EXPORT MemoryImage : public BaseImage {
  public:
    MemoryImage() = default;

    BoolResult init(BaseImageGeometry const& geometry) override;

    /// The first pixel of the first plane; null for an empty image.
    void* getDataPtr() { return _pPixels.get(); }
    /// Same, read-only.
    void const* getDataPtr() const { return _pPixels.get(); }

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;
    void* accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const override;

    std::shared_ptr<std::byte> _pPixels; ///< the first byte; co-owns the allocation
};

} // namespace velmo::image
