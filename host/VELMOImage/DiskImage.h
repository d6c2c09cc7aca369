// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

namespace velmo::image {

class BaseDiskImageAccessor;

/// An image whose pixels stay in a file: every access goes to the accessor, which the image co-owns. It has
/// the accessor's geometry and calibration.
class VELMO_HOST_EXPORT DiskImage : public BaseImage {
  public:
    /// The accessor must be initialised and exchange binary pixels as one byte each; the factory checks both.
    explicit DiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor);

    /// Its record in an archive takes the image to another process.
    boost::shared_ptr<BaseDiskImageAccessor> const& getAccessor() const { return _pAccessor; }
    bool isStoredIn(boost::filesystem::path const& path) const override;

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    boost::shared_ptr<BaseDiskImageAccessor> _pAccessor;
};

/// A shared disk image; the last pointer closes the file, unless others hold the accessor.
using DiskImagePtr = boost::shared_ptr<DiskImage>;

} // namespace velmo::image
