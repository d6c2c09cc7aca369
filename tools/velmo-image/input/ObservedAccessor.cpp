// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/ObservedAccessor.h"

#include "input/ByteSwap.h"
#include "terminal/Failure.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <boost/make_shared.hpp>
#include <stdexcept>

namespace velmo::tool {

namespace {

[[noreturn]] void refuseCopy() {
    throw std::logic_error("an observed image has no copies");
}

/// Null for an image in memory.
boost::shared_ptr<image::BaseDiskImageAccessor> getAccessorOf(image::ImagePtr const& pImage) {
    auto const pDiskImage = boost::dynamic_pointer_cast<image::DiskImage>(pImage);
    return pDiskImage ? pDiskImage->getAccessor() : nullptr;
}

} // namespace

ObservedAccessor::ObservedAccessor(ObservedSource const& source, Progress& progress)
    : _pImage(source.pImage),
      _pPageReader(dynamic_cast<image::file::BasePageReader const*>(getAccessorOf(source.pImage).get())),
      _pPlanes(source.bWholePlanes ? std::make_unique<TiffPlanes>(source.pImage) : nullptr),
      _bSwapBytes(source.bSwapBytes), _progress(progress) {
    auto const pAccessor = getAccessorOf(source.pImage);
    initBase(pAccessor ? pAccessor->getFilePath() : boost::filesystem::path(), image::eIAM_ReadOnly,
             source.pImage->getGeometry(), source.pImage->getGeometricCalibrationConstPtr(), false);
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
    auto const pAccessor = getAccessorOf(_pImage);
    return !pAccessor || pAccessor->hasBinary8BitsStorage();
}

bool ObservedAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return _pImage && _pImage->isStoredIn(path);
}

BoolResult ObservedAccessor::resizeData(image::BaseImageGeometry const& /*geometry*/) {
    return failure("an input image is not resized");
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

BoolResult ObservedAccessor::writeRawData(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                          vlUInt64 /*pixelStartOffset*/, vlUInt64 /*nbPixels*/,
                                          void const* /*buffer*/) {
    return failure("an input image is not written to");
}

void ObservedAccessor::clearDerived() {
    _pPlanes.reset();
    _pImage.reset();
}

image::DiskImagePtr observe(ObservedSource const& source, Progress& progress) {
    image::DiskImagePtr pObserved;
    BoolResult const result = image::ImageFactory::getInstance().createDiskImage(
        boost::make_shared<ObservedAccessor>(source, progress), pObserved);
    if (!result) {
        throw WorkFailure(result.getMessage());
    }
    pObserved->setUserPropertiesStr(source.pImage->getUserPropertiesStr());
    return pObserved;
}

} // namespace velmo::tool
