// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstddef>
#include <memory>

namespace velmo::image {

/// Which memory a strip uses. Default: that of the image if possible, otherwise its own.
enum eStripAllocationType : vlUInt64 { eSAT_Default = 0 };
/// Order of rows. Default: from first to last.
enum eStripParsingDirection : vlUInt64 { eSPD_Default = 0 };

/// The pixels of a strip, row by row: those of the image if they are in the memory of this process, otherwise
/// a copy.
class VELMO_HOST_EXPORT BaseBlockBuffer {
  public:
    /// The first pixel; null before `initBuffer` and for an empty strip.
    void* getDataPtr() { return _pData; }
    /// Same, read-only.
    void const* getDataPtr() const { return _pData; }

  private:
    friend class BaseImageYStrip2d;
    std::shared_ptr<std::byte> _pOwn;
    void* _pData = nullptr;
};

/// A part of an image with a buffer.
class VELMO_HOST_EXPORT BaseImageFragment {
  public:
    virtual ~BaseImageFragment();
    /// Creates the buffer. Memory that is not that of the image is zeroed.
    virtual BoolResult initBuffer() = 0;
};

/// Rows of one plane. Not thread-safe.
class VELMO_HOST_EXPORT BaseImageYStrip2d : public BaseImageFragment {
  public:
    /// Plane and range of rows.
    struct Place {
        /// @{
        /// Indexes from 0, and the number of rows.
        vlUInt64 z;
        vlUInt64 c;
        vlUInt64 t;
        vlUInt64 yStart;
        vlUInt64 nbRows;
        /// @}
    };

    BoolResult initBuffer() override;
    /// The buffer; the strip owns it.
    BaseBlockBuffer const& accessBuffer() const { return _buffer; }

  protected:
    /// Throws VELMOImageException if the rows are outside the image.
    BaseImageYStrip2d(BaseImage const& image, Place const& place);

    /// The buffer, to be filled.
    BaseBlockBuffer& accessOwnBuffer() { return _buffer; }
    /// @{
    /// Copy between the buffer and the image. They do nothing if the strip uses the memory of the image.
    BoolResult readPixels(BaseImage const& image) const;
    BoolResult writePixels(BaseImage& image) const;
    /// @}

  private:
    Place _place;
    vlUInt64 _pixelStart;
    vlUInt64 _nbPixels;
    vlUInt64 _nbBytes;
    void* _pImagePixels; ///< the rows in the image's own memory, or null
    BaseBlockBuffer _buffer;
};

/// Rows to read from an image.
class VELMO_HOST_EXPORT InputImageYStrip2d : public BaseImageYStrip2d {
  public:
    /// @{
    /// Co-owns the image.
    using Image = BaseImage const;
    InputImageYStrip2d(boost::shared_ptr<Image> const& pImage, Place const& place)
        : BaseImageYStrip2d(*pImage, place), _pImage(pImage) {}
    /// @}
    /// Reads the rows to the buffer. Requires `initBuffer`.
    BoolResult readFromImage() const { return readPixels(*_pImage); }

  private:
    boost::shared_ptr<Image> _pImage;
};

/// Rows to write to an image.
class VELMO_HOST_EXPORT OutputImageYStrip2d : public BaseImageYStrip2d {
  public:
    /// @{
    /// Co-owns the image.
    using Image = BaseImage;
    OutputImageYStrip2d(boost::shared_ptr<Image> const& pImage, Place const& place)
        : BaseImageYStrip2d(*pImage, place), _pImage(pImage) {}
    /// @}
    /// Read-only.
    using BaseImageYStrip2d::accessBuffer;
    /// If the strip uses the memory of the image, changes are in the image immediately.
    BaseBlockBuffer& accessBuffer() { return accessOwnBuffer(); }
    /// Writes the buffer to the image. Requires `initBuffer`.
    BoolResult writeToImage() { return writePixels(*_pImage); }

  private:
    boost::shared_ptr<Image> _pImage;
};

/// Creates strips.
class ImageStripExtractor {
  public:
    /// Creates a strip of the rows `yStart` to `yStart + nbRows - 1` of plane (z, c, t). Throws
    /// VELMOImageException if they are outside the image.
    template <class Strip>
    static void
    extractYStrip2d(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 yStart, vlUInt64 nbRows,
                    eStripAllocationType const& /*allocation*/, eStripParsingDirection const& /*direction*/,
                    boost::shared_ptr<typename Strip::Image> const& pImage, boost::shared_ptr<Strip>& strip) {
        strip.reset(new Strip(pImage, {z, c, t, yStart, nbRows}));
    }
};

} // namespace velmo::image
