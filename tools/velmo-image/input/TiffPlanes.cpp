// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/TiffPlanes.h"

#include "input/PlaneMemory.h"

#include <cstring>

namespace velmo::tool {

TiffPlanes::TiffPlanes(image::ImageConstPtr const& pImage) : _pImage(pImage) {}

BoolResult TiffPlanes::readPixels(image::PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void* buffer) {
    image::ImagePlanGeometry const geometry = _pImage->getGeometry().getPlanGeometry(plane.t);
    _pImage->requireInside(plane.z, plane.c, plane.t, pixelStart, nbPixels);
    if (nbPixels == geometry.getNbPixels()) {
        return readPlane(plane, buffer);
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    BoolResult result = hold(plane);
    if (result) {
        vlUInt64 const pixelSize = image::getImageBufferBaseSize(geometry.getBufferType());
        std::memcpy(buffer, _pixels.getData() + pixelStart * pixelSize, nbPixels * pixelSize);
    }
    return result;
}

BoolResult TiffPlanes::readPlane(image::PlanIndexes const& plane, void* buffer) const {
    image::BaseImageGeometry const& geometry = _pImage->getGeometry();
    return _pImage->readPixels(plane.z, plane.c, plane.t, 0, geometry.getPlanNbPixels(), buffer);
}

BoolResult TiffPlanes::hold(image::PlanIndexes const& plane) {
    image::BaseImageGeometry const& geometry = _pImage->getGeometry();
    vlUInt64 const number = geometry.getPlanNumber(plane);
    if (_heldPlane == number) {
        return success();
    }
    _heldPlane.reset();
    BoolResult result = makeRoom(_pixels, geometry.getPlanMemorySize(plane.t));
    if (result) {
        result = readPlane(plane, _pixels.getData());
    }
    if (result) {
        _heldPlane = number;
    }
    return result;
}

} // namespace velmo::tool
