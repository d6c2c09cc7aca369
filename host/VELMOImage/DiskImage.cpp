// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/DiskImage.h"

#include "VELMOImage/ImageAccessor.h"

namespace velmo::image {

DiskImage::DiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor) : _pAccessor(pAccessor) {
    setGeometry(pAccessor->getGeometry());
    setGeometricCalibration(pAccessor->getGeometricCalibrationConstPtr());
}

bool DiskImage::isStoredIn(boost::filesystem::path const& path) const {
    return _pAccessor->isStoredIn(path);
}

BoolResult DiskImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                        vlUInt64 nbPixels, void* buffer) const {
    return _pAccessor->readRawData(z, c, t, pixelStart, nbPixels, buffer);
}

BoolResult DiskImage::writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                         vlUInt64 nbPixels, void const* buffer) {
    return _pAccessor->writeRawData(z, c, t, pixelStart, nbPixels, buffer);
}

} // namespace velmo::image
