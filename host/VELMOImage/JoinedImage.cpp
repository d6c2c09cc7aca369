// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImage.h"

#include <algorithm>

namespace velmo::image {

BoolResult JoinedImage::join(std::vector<ImagePtr> const& parts, eJoinAxis axis) {
    std::vector<BaseImageGeometry const*> geometries;
    geometries.reserve(parts.size());
    for (ImagePtr const& pPart : parts) {
        geometries.push_back(&pPart->getGeometry());
    }
    BoolResult result = _layout.init(geometries, axis);
    if (result) {
        setGeometry(_layout.getGeometry());
        setGeometricCalibration(parts.front()->getGeometricCalibrationConstPtr());
        _parts = parts;
    }
    return result;
}

bool JoinedImage::requiresCpuCopy() const {
    return std::any_of(_parts.begin(), _parts.end(),
                       [](ImagePtr const& pPart) { return pPart->requiresCpuCopy(); });
}

bool JoinedImage::isStoredIn(boost::filesystem::path const& path) const {
    return std::any_of(_parts.begin(), _parts.end(),
                       [&](ImagePtr const& pPart) { return pPart->isStoredIn(path); });
}

BoolResult JoinedImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                          vlUInt64 nbPixels, void* buffer) const {
    auto const [part, plan] = _layout.locate(z, c, t);
    return _parts[part]->readPixels(plan.z, plan.c, plan.t, pixelStart, nbPixels, buffer);
}

BoolResult JoinedImage::writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                           vlUInt64 nbPixels, void const* buffer) {
    auto const [part, plan] = _layout.locate(z, c, t);
    return _parts[part]->writePixels(plan.z, plan.c, plan.t, pixelStart, nbPixels, buffer);
}

void* JoinedImage::accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    auto const [part, plan] = _layout.locate(z, c, t);
    return _parts[part]->accessPlan(plan.z, plan.c, plan.t);
}

} // namespace velmo::image
