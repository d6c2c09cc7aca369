// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/Cut.h"
#include "input/ObservedAccessor.h"

namespace velmo::tool {

/// Reads a part of another image. Any thread may read. Where a region is narrower than the planes, a read
/// holds rows of the image: those of the whole run if the image is read by whole planes, otherwise a few.
class CutAccessor : public ReadOnlyAccessor, public image::file::BasePageReader {
  public:
    /// The cut must lie within the image.
    CutAccessor(ObservedSource const& source, Cut const& cut);

    bool isStoredIn(boost::filesystem::path const& path) const override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           std::vector<void*> const& buffers) const override;
    void clearDerived() override;

  private:
    /// Rows of the region.
    struct Rows {
        vlUInt64 first;
        vlUInt64 count;
    };
    template <class Read>
    BoolResult readRun(vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels, std::vector<void*> const& buffers,
                       Read const& read) const;
    template <class Read>
    BoolResult readRows(Rows const& rows, vlUInt64 pixelSize, vlUInt64 pixelStart, vlUInt64 nbPixels,
                        std::vector<void*> const& buffers, Read const& read) const;

    image::ImagePtr _pImage;
    image::file::BasePageReader const* _pPageReader; ///< of the image; null if it has none
    Cut const _cut;
    bool const _bWholePlanes;
};

/// The part of an image, with its calibration and the user properties of the image.
ObservedSource cutImage(ObservedSource const& source, Cut const& cut);

} // namespace velmo::tool
