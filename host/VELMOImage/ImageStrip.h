// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstddef>
#include <memory>

namespace velmo::image {

/// Whose memory a strip uses: the image's where that works, else its own.
enum eStripAllocationType : vlUInt64 { eSAT_Default = 0 };
/// In which order rows are walked: from first to last.
enum eStripParsingDirection : vlUInt64 { eSPD_Default = 0 };

/// The pixels of a strip, row after row: its own, or those of the image itself where they lie in this
/// process's memory.
class VELMO_HOST_EXPORT BaseBlockBuffer {
  public:
    /// The first pixel; null before `initBuffer` and for a strip without pixels.
    void* getDataPtr() { return _pData; }
    /// The same for reading.
    void const* getDataPtr() const { return _pData; }

  private:
    friend class BaseImageYStrip2d;
    std::shared_ptr<std::byte> _pOwn;
    void* _pData = nullptr;
};

/// A part of an image with a buffer of its own.
class VELMO_HOST_EXPORT BaseImageFragment {
  public:
    virtual ~BaseImageFragment();
    /// Makes the buffer, zeroed where it is the fragment's own.
    virtual BoolResult initBuffer() = 0;
};

/// Rows of one plane. For one thread at a time.
class VELMO_HOST_EXPORT BaseImageYStrip2d : public BaseImageFragment {
  public:
    /// Which rows of which plane.
    struct Place {
        /// @{
        /// Each counted from 0, but for the number of rows.
        vlUInt64 z;
        vlUInt64 c;
        vlUInt64 t;
        vlUInt64 yStart;
        vlUInt64 nbRows;
        /// @}
    };

    BoolResult initBuffer() override;
    /// Owned by the strip.
    BaseBlockBuffer const& accessBuffer() const { return _buffer; }

  protected:
    /// Throws VELMOImageException where the rows lie outside of the image.
    BaseImageYStrip2d(BaseImage const& image, Place const& place);

    /// The same, to be filled.
    BaseBlockBuffer& accessOwnBuffer() { return _buffer; }
    /// @{
    /// Between the buffer and the image; nothing moves where the strip shares the image's memory.
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

/// Rows to be read from an image.
class VELMO_HOST_EXPORT InputImageYStrip2d : public BaseImageYStrip2d {
  public:
    /// @{
    /// Co-owns the image that it reads from.
    using Image = BaseImage const;
    InputImageYStrip2d(boost::shared_ptr<Image> const& pImage, Place const& place)
        : BaseImageYStrip2d(*pImage, place), _pImage(pImage) {}
    /// @}
    /// Fills the buffer, which `initBuffer` must have made.
    BoolResult readFromImage() const { return readPixels(*_pImage); }

  private:
    boost::shared_ptr<Image> _pImage;
};

/// Rows to be stored in an image.
class VELMO_HOST_EXPORT OutputImageYStrip2d : public BaseImageYStrip2d {
  public:
    /// @{
    /// Co-owns the image that it stores to.
    using Image = BaseImage;
    OutputImageYStrip2d(boost::shared_ptr<Image> const& pImage, Place const& place)
        : BaseImageYStrip2d(*pImage, place), _pImage(pImage) {}
    /// @}
    /// For reading.
    using BaseImageYStrip2d::accessBuffer;
    /// Where the strip shares the image's memory, what is stored here is in the image at once.
    BaseBlockBuffer& accessBuffer() { return accessOwnBuffer(); }
    /// Stores the buffer, which `initBuffer` must have made.
    BoolResult writeToImage() { return writePixels(*_pImage); }

  private:
    boost::shared_ptr<Image> _pImage;
};

/// Makes strips.
class ImageStripExtractor {
  public:
    /// The rows `yStart` to `yStart + nbRows - 1` of plane (z, c, t). Throws VELMOImageException where they
    /// lie outside of the image.
    template <class Strip>
    static void
    extractYStrip2d(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 yStart, vlUInt64 nbRows,
                    eStripAllocationType const& /*allocation*/, eStripParsingDirection const& /*direction*/,
                    boost::shared_ptr<typename Strip::Image> const& pImage, boost::shared_ptr<Strip>& strip) {
        strip.reset(new Strip(pImage, {z, c, t, yStart, nbRows}));
    }
};

} // namespace velmo::image
