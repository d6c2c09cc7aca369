// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffPlanes.h"

#include <VELMOUtil/AvailableMemory.h>
#include <cstring>

namespace velmo {
namespace tool {

TiffPlanes::TiffPlanes(image::ImageConstPtr const& pImage) : _pImage(pImage) {}

BoolResult TiffPlanes::readPixels(image::PlanIndexes const& plan, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void* buffer) {
    image::ImagePlanGeometry const geometry = _pImage->getGeometry().getPlanGeometry(plan.t);
    _pImage->requireInside(plan.z, plan.c, plan.t, pixelStart, nbPixels);
    if (nbPixels == geometry.getNbPixels()) {
        return readPlane(plan, buffer);
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    BoolResult result = hold(plan);
    if (result) {
        vlUInt64 const pixelSize = image::getImageBufferBaseSize(geometry.getBufferType());
        std::memcpy(buffer, _pixels.getData() + pixelStart * pixelSize, nbPixels * pixelSize);
    }
    return result;
}

BoolResult TiffPlanes::readPlane(image::PlanIndexes const& plan, void* buffer) const {
    image::BaseImageGeometry const& geometry = _pImage->getGeometry();
    return _pImage->readPixels(plan.z, plan.c, plan.t, 0, geometry.getPlanNbPixels(), buffer);
}

BoolResult TiffPlanes::hold(image::PlanIndexes const& plan) {
    image::BaseImageGeometry const& geometry = _pImage->getGeometry();
    vlUInt64 const number = geometry.getPlanNumber(plan);
    if (_heldPlan == number) {
        return success();
    }
    _heldPlan.reset();
    BoolResult result = makeRoom(geometry.getPlanMemorySize(plan.t));
    if (result) {
        result = readPlane(plan, _pixels.getData());
    }
    if (result) {
        _heldPlan = number;
    }
    return result;
}

BoolResult TiffPlanes::makeRoom(vlUInt64 nbBytes) {
    if (nbBytes <= _pixels.getSize()) {
        return success();
    }
    vlUInt64 const nbAvailable = getAvailableMemory();
    if (nbBytes > nbAvailable) {
        return failure("a plane takes " + std::to_string(nbBytes) + " bytes of memory, and " +
                       std::to_string(nbAvailable) + " are available");
    }
    _pixels = PageBuffer(nbBytes);
    return success();
}

} // namespace tool
} // namespace velmo
