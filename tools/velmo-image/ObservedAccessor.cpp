// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ObservedAccessor.h"

#include "ByteSwap.h"
#include "Interrupt.h"
#include "Progress.h"

#include <VELMOImage/ImageGeometry.h>
#include <stdexcept>

namespace velmo {
namespace tool {

namespace {

[[noreturn]] void refuseCopy() {
    throw std::logic_error("an observed image has no copies");
}

} // namespace

ObservedAccessor::ObservedAccessor(image::DiskImagePtr const& pImage, bool bSwapBytes, bool bWholePlanes,
                                   Progress& progress)
    : _pImage(pImage), _pPlanes(bWholePlanes ? std::make_unique<TiffPlanes>(pImage) : nullptr),
      _bSwapBytes(bSwapBytes), _progress(progress) {
    initBase(pImage->getAccessor()->getFilePath(), image::eIAM_ReadOnly, pImage->getGeometry(),
             pImage->getGeometricCalibrationConstPtr(), false);
}

std::string const& ObservedAccessor::getClassName() const {
    static std::string const name("velmo::tool::ObservedAccessor");
    return name;
}

BaseDynamicObject* ObservedAccessor::createNew() const {
    refuseCopy();
}

DynamicObjectPtr ObservedAccessor::createShared() const {
    refuseCopy();
}

bool ObservedAccessor::hasCopySupport() const {
    return false;
}

BaseDynamicObject* ObservedAccessor::duplicate() const {
    refuseCopy();
}

DynamicObjectPtr ObservedAccessor::duplicateShared() const {
    refuseCopy();
}

void ObservedAccessor::copy(BaseDynamicObject const& /*other*/) {
    refuseCopy();
}

bool ObservedAccessor::hasBinary8BitsStorage() const {
    return _pImage->getAccessor()->hasBinary8BitsStorage();
}

BoolResult ObservedAccessor::resizeData(image::BaseImageGeometry const& /*geometry*/) {
    return failure("an input image is not resized");
}

BoolResult ObservedAccessor::readSource(image::PlanIndexes const& plan, vlUInt64 pixelStart,
                                        vlUInt64 nbPixels, void* buffer) const {
    return _pPlanes ? _pPlanes->readPixels(plan, pixelStart, nbPixels, buffer)
                    : _pImage->readPixels(plan.z, plan.c, plan.t, pixelStart, nbPixels, buffer);
}

BoolResult ObservedAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                         vlUInt64 nbPixels, void* buffer) const {
    if (isInterruptRequested()) {
        return failure("interrupted");
    }
    BoolResult result = readSource({z, c, t}, pixelStartOffset, nbPixels, buffer);
    if (result) {
        if (_bSwapBytes) {
            image::eImageBufferType const type = getGeometry().getPlanGeometry(t).getBufferType();
            swapBytes(buffer, nbPixels, image::getImageBufferBaseSize(type));
        }
        _progress.add(nbPixels);
    }
    return result;
}

BoolResult ObservedAccessor::writeRawData(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                          vlUInt64 /*pixelStartOffset*/, vlUInt64 /*nbPixels*/,
                                          void const* /*buffer*/) {
    return failure("an input image is not written to");
}

void ObservedAccessor::clearDerived() {
    _pPlanes.reset();
    _pImage.reset();
}

} // namespace tool
} // namespace velmo
