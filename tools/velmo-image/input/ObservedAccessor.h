// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/TiffPlanes.h"

#include <ReadOnlyAccessor.h>
#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/PageReader.h>
#include <memory>
#include <vector>

namespace velmo::tool {

class Progress;

/// An image to be watched while it is read.
struct ObservedSource {
    image::ImagePtr pImage;
    bool bSwapBytes;   ///< of each pixel read
    bool bWholePlanes; ///< ask the image for whole planes only, one of which is held in memory
};

/// Reads through to another image, so that a copy of it can be watched and stopped: each read swaps the bytes
/// if asked to, counts its pixels, and fails after an interrupt.
class ObservedAccessor : public ReadOnlyAccessor, public image::file::BasePageReader {
  public:
    /// `progress` must outlive the accessor.
    ObservedAccessor(ObservedSource const& source, Progress& progress);

    bool hasBinary8BitsStorage() const override;
    bool isStoredIn(boost::filesystem::path const& path) const override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           std::vector<void*> const& buffers) const override;
    void clearDerived() override;

  private:
    template <class Read>
    BoolResult observe(vlUInt64 t, vlUInt64 nbPixels, std::vector<void*> const& buffers,
                       Read const& read) const;
    BoolResult readSource(image::PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                          void* buffer) const;

    image::ImagePtr _pImage;
    image::file::BasePageReader const* _pPageReader; ///< of the source; null if it has none
    std::unique_ptr<TiffPlanes> _pPlanes;            ///< null where runs of pixels are read
    bool _bSwapBytes;
    Progress& _progress;
};

/// The image behind an ObservedAccessor, with the calibration and user properties of the source.
image::DiskImagePtr observe(ObservedSource const& source, Progress& progress);

} // namespace velmo::tool
