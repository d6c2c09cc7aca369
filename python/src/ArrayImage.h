// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Description.h"

#include <VELMOImage/BaseImage.h>

namespace velmo::python {

/// An image over the memory of a C-contiguous array of the shape (T, C, Z, Y, X), for writing it to a file.
/// It does not own the memory, which must have the size of the geometry.
class ArrayImage : public image::BaseImage {
  public:
    ArrayImage(Description const& description, void const* pPixels);

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    /// Fails: the array belongs to the caller of the save.
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;
    void* accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const override;

    std::byte const* _pPixels;
};

} // namespace velmo::python
