// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/MemoryImage.h"

#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/detail/PixelMemory.h"

#include <cstring>

namespace velmo::image {

namespace {

/// Byte range of a run of pixels within its plane. The run lies inside of the image.
struct Bytes {
    vlUInt64 offset;
    vlUInt64 size;
};

Bytes toBytes(BaseImageGeometry const& geometry, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels) {
    vlUInt64 const pixelSize = geometry.getPlanGeometry(t).getPixelSize();
    return {pixelStart * pixelSize, nbPixels * pixelSize};
}

void copyBytes(void* pTarget, void const* pSource, vlUInt64 nbBytes) {
    if (nbBytes != 0) {
        std::memcpy(pTarget, pSource, nbBytes);
    }
}

} // namespace

BoolResult MemoryImage::init(BaseImageGeometry const& geometry) {
    std::shared_ptr<std::byte> pPixels;
    BoolResult result = allocatePixels(geometry.getFullMemorySize(), pPixels);
    if (result) {
        setGeometry(geometry); // may throw: the pixels change behind it
        _pPixels = std::move(pPixels);
    }
    return result;
}

BoolResult MemoryImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                          vlUInt64 nbPixels, void* buffer) const {
    Bytes const bytes = toBytes(getGeometry(), t, pixelStart, nbPixels);
    copyBytes(buffer, static_cast<std::byte const*>(accessPlanDerived(z, c, t)) + bytes.offset, bytes.size);
    return success();
}

BoolResult MemoryImage::writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                           vlUInt64 nbPixels, void const* buffer) {
    Bytes const bytes = toBytes(getGeometry(), t, pixelStart, nbPixels);
    copyBytes(static_cast<std::byte*>(accessPlanDerived(z, c, t)) + bytes.offset, buffer, bytes.size);
    return success();
}

void* MemoryImage::accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    return _pPixels.get() + getGeometry().getPlanOffset(z, c, t);
}

} // namespace velmo::image
