// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArrayImage.h"

#include <cstring>

namespace velmo::python {

using namespace image;

ArrayImage::ArrayImage(Description const& description, void const* pPixels)
    : _pPixels(static_cast<std::byte const*>(pPixels)) {
    setGeometry(*description.pGeometry);
    setGeometricCalibration(description.pCalibration);
    setUserPropertiesStr(description.userProperties);
}

BoolResult ArrayImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                         vlUInt64 nbPixels, void* buffer) const {
    vlUInt64 const pixelSize = getImageBufferBaseSize(getBufferType());
    if (nbPixels != 0) {
        std::memcpy(buffer,
                    static_cast<std::byte const*>(accessPlanDerived(z, c, t)) + pixelStart * pixelSize,
                    nbPixels * pixelSize);
    }
    return success();
}

BoolResult ArrayImage::writePixelsDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                          vlUInt64 /*pixelStart*/, vlUInt64 /*nbPixels*/,
                                          void const* /*buffer*/) {
    return failure("The array is read-only");
}

void* ArrayImage::accessPlanDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    return const_cast<std::byte*>(_pPixels) + getGeometry().getPlanOffset(z, c, t);
}

} // namespace velmo::python
