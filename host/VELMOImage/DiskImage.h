// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

namespace velmo::image {

class BaseDiskImageAccessor;

/// An image whose pixels stay in a file. Every access goes to the accessor, which the image co-owns. It has
/// the geometry and the calibration of the accessor.
class VELMO_HOST_EXPORT DiskImage : public BaseImage {
  public:
    /// The accessor must be initialised and must exchange binary pixels as one byte each. ImageFactory checks
    /// both.
    explicit DiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor);

    /// An archive record of it can open the image in another process.
    boost::shared_ptr<BaseDiskImageAccessor> const& getAccessor() const { return _pAccessor; }
    bool isStoredIn(boost::filesystem::path const& path) const override;

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    boost::shared_ptr<BaseDiskImageAccessor> _pAccessor;
};

/// Shared disk image. The last pointer closes the file, unless the accessor has other owners.
using DiskImagePtr = boost::shared_ptr<DiskImage>;

} // namespace velmo::image
