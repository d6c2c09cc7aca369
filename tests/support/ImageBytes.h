// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <functional>
#include <string>

namespace velmo::test {

/// Bytes without a pattern that would hide an exchange of planes; another `seed` gives other bytes.
std::string makeBytes(vlUInt64 nbBytes, unsigned int seed = 1);

/// Enough bytes for all planes of a geometry.
std::string makePixels(image::BaseImageGeometry const& geometry, unsigned int seed = 1);

/// All planes one after the other, t outermost, then c, then z.
std::string readPixels(image::BaseImage const& image);
void writePixels(image::BaseImage& image, std::string const& pixels);

image::ImagePtr makeMemoryImage(image::BaseImageGeometry const& geometry, std::string const& pixels);
image::DistributedImagePtr makeDistributedImage(image::BaseImageGeometry const& geometry,
                                                std::string const& pixels);

/// 4 x 3 pixels, 2 planes in z, 1 channel, 2 time steps: 4 planes of 12 pixels.
image::ImageGeometryPtr makeSequence(image::eImageBufferType bufferType);
/// 5 x 2 pixels, 2 planes in z, RGB, 3 time steps of 1, 4 and 2 bytes a pixel.
image::ImageGeometryPtr makeHeterogeneous();

/// An image of the caller's own kind, with a word before each access. Its pixels lie in memory that it does
/// not lend out.
class HookedImage : public image::BaseImage {
  public:
    /// Called with the number of the access, from 0 on. A failure is the outcome of the access.
    using Hook = std::function<BoolResult(int access)>;

    explicit HookedImage(image::BaseImageGeometry const& geometry);
    void setReadHook(Hook hook) { _readHook = std::move(hook); }
    void setWriteHook(Hook hook) { _writeHook = std::move(hook); }

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    image::ImagePtr _pPixels;
    Hook _readHook;
    Hook _writeHook;
    mutable int _nbReads = 0;
    int _nbWrites = 0;
};

/// Fails at one access, with this text.
HookedImage::Hook failAt(int access, std::string const& text);

} // namespace velmo::test
