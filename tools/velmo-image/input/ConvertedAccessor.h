// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/ObservedAccessor.h"
#include "input/PixelConversion.h"

namespace velmo::tool {

/// Reads the pixels of another image as another type. Any thread may read; a read holds the pixels of its run
/// as the image has them.
class ConvertedAccessor : public ReadOnlyAccessor, public image::file::BasePageReader {
  public:
    ConvertedAccessor(ObservedSource const& source, PixelConversion const& conversion,
                      std::shared_ptr<ConversionCounts> pCounts);

    bool isStoredIn(boost::filesystem::path const& path) const override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           std::vector<void*> const& buffers) const override;
    void clearDerived() override;

  private:
    template <class Read>
    BoolResult convert(vlUInt64 t, vlUInt64 nbPixels, std::vector<void*> const& buffers,
                       Read const& read) const;

    image::ImagePtr _pImage;
    image::file::BasePageReader const* _pPageReader; ///< of the image; null if it has none
    bool const _bSwapBytes;
    PixelConversion const _conversion;
    std::shared_ptr<ConversionCounts> const _pCounts;
};

/// The image with another pixel type, with its calibration and user properties, in the machine's byte order.
/// What its reads change is counted in `pCounts`.
ObservedSource convertImage(ObservedSource const& source, PixelConversion const& conversion,
                            std::shared_ptr<ConversionCounts> const& pCounts);

} // namespace velmo::tool
