// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/ObservedAccessor.h"

#include "input/AccessorImage.h"
#include "input/ByteSwap.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"

#include <VELMOImage/ImageGeometry.h>
#include <boost/make_shared.hpp>

namespace velmo::tool {

ObservedAccessor::ObservedAccessor(ObservedSource const& source, Progress& progress)
    : ReadOnlyAccessor("velmo::tool::ObservedAccessor"), _pImage(source.pImage),
      _pPageReader(findPageReader(*source.pImage)),
      _pPlanes(source.bWholePlanes ? std::make_unique<TiffPlanes>(source.pImage) : nullptr),
      _bSwapBytes(source.bSwapBytes), _progress(progress) {
    initBase(getPathOf(*source.pImage), image::eIAM_ReadOnly, source.pImage->getGeometry(),
             source.pImage->getGeometricCalibrationConstPtr(), false);
}

bool ObservedAccessor::hasBinary8BitsStorage() const {
    auto const pAccessor = findAccessor(*_pImage);
    return !pAccessor || pAccessor->hasBinary8BitsStorage();
}

bool ObservedAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return _pImage && _pImage->isStoredIn(path);
}

BoolResult ObservedAccessor::readSource(image::PlanIndexes const& plane, vlUInt64 pixelStart,
                                        vlUInt64 nbPixels, void* buffer) const {
    return _pPlanes ? _pPlanes->readPixels(plane, pixelStart, nbPixels, buffer)
                    : _pImage->readPixels(plane.z, plane.c, plane.t, pixelStart, nbPixels, buffer);
}

template <class Read>
BoolResult ObservedAccessor::observe(vlUInt64 t, vlUInt64 nbPixels, std::vector<void*> const& buffers,
                                     Read const& read) const {
    if (isInterruptRequested()) {
        return failure("interrupted");
    }
    BoolResult result = read();
    for (void* const pBuffer : result ? buffers : std::vector<void*>()) {
        if (_bSwapBytes) {
            image::eImageBufferType const type = getGeometry().getPlanGeometry(t).getBufferType();
            swapBytes(pBuffer, nbPixels, image::getImageBufferBaseSize(type));
        }
        _progress.add(nbPixels);
    }
    return result;
}

BoolResult ObservedAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                         vlUInt64 nbPixels, void* buffer) const {
    return observe(t, nbPixels, {buffer}, [&] {
        return readSource({z, c, t}, pixelStartOffset, nbPixels, buffer);
    });
}

BoolResult ObservedAccessor::readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                                         std::vector<void*> const& buffers) const {
    return observe(t, nbPixels, buffers, [&] {
        return _pPageReader != nullptr ? _pPageReader->readRawPage(z, t, pixelStartOffset, nbPixels, buffers)
                                       : failure("the source reads one channel at a time");
    });
}

void ObservedAccessor::clearDerived() {
    _pPlanes.reset();
    _pImage.reset();
}

image::DiskImagePtr observe(ObservedSource const& source, Progress& progress) {
    image::DiskImagePtr pObserved = createDiskImage(boost::make_shared<ObservedAccessor>(source, progress));
    pObserved->setUserPropertiesStr(source.pImage->getUserPropertiesStr());
    return pObserved;
}

} // namespace velmo::tool
