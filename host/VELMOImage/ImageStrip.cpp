// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageStrip.h"

#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/detail/PixelMemory.h"

namespace velmo::image {

BaseImageFragment::~BaseImageFragment() = default;

BaseImageYStrip2d::BaseImageYStrip2d(BaseImage const& image, Place const& place) : _place(place) {
    BaseImageGeometry const& geometry = image.getGeometry();
    vlUInt64 const sizeX = geometry.getSizeX();
    bool const bInside =
        place.yStart <= geometry.getSizeY() && place.nbRows <= geometry.getSizeY() - place.yStart;
    _pixelStart = bInside ? place.yStart * sizeX : geometry.getPlanNbPixels();
    _nbPixels = bInside ? place.nbRows * sizeX : NumericLimits<vlUInt64>::s_max;
    image.requireInside(place.z, place.c, place.t, _pixelStart, _nbPixels);
    vlUInt64 const pixelSize = geometry.getPlanGeometry(place.t).getPixelSize();
    _nbBytes = _nbPixels * pixelSize;
    // An input strip hands out its buffer as constant: the memory of a constant image is not written to.
    auto* const pPlan =
        static_cast<std::byte*>(const_cast<void*>(image.accessPlan(place.z, place.c, place.t)));
    _pImagePixels = pPlan == nullptr ? nullptr : pPlan + _pixelStart * pixelSize;
}

BoolResult BaseImageYStrip2d::initBuffer() {
    BoolResult result = success();
    if (_pImagePixels == nullptr) {
        result = allocatePixels(_nbBytes, _buffer._pOwn);
    }
    if (result) {
        _buffer._pData = _pImagePixels != nullptr ? _pImagePixels : _buffer._pOwn.get();
    }
    return result;
}

BoolResult BaseImageYStrip2d::readPixels(BaseImage const& image) const {
    if (_pImagePixels != nullptr) {
        return success();
    }
    return image.readPixels(_place.z, _place.c, _place.t, _pixelStart, _nbPixels, _buffer._pData);
}

BoolResult BaseImageYStrip2d::writePixels(BaseImage& image) const {
    if (_pImagePixels != nullptr) {
        return success();
    }
    return image.writePixels(_place.z, _place.c, _place.t, _pixelStart, _nbPixels, _buffer._pData);
}

} // namespace velmo::image
