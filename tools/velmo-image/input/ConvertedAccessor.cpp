// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/ConvertedAccessor.h"

#include "input/AccessorImage.h"
#include "input/ByteSwap.h"
#include "input/PlaneMemory.h"

#include <boost/make_shared.hpp>
#include <utility>

namespace velmo::tool {

namespace {

using namespace image;

ImageGeometryPtr createConvertedGeometry(BaseImageGeometry const& geometry, eImageBufferType type) {
    return image::geometry(type, geometry.getSizeX(), geometry.getSizeY(), geometry.getVolumeGeometry(),
                           geometry.getColorGeometry(), geometry.getTemporalGeometry());
}

} // namespace

ConvertedAccessor::ConvertedAccessor(ObservedSource const& source, PixelConversion const& conversion,
                                     std::shared_ptr<ConversionCounts> pCounts)
    : ReadOnlyAccessor("velmo::tool::ConvertedAccessor"), _pImage(source.pImage),
      _pPageReader(findPageReader(*source.pImage)), _bSwapBytes(source.bSwapBytes), _conversion(conversion),
      _pCounts(std::move(pCounts)) {
    initBase(getPathOf(*source.pImage), eIAM_ReadOnly,
             *createConvertedGeometry(source.pImage->getGeometry(), conversion.type),
             source.pImage->getGeometricCalibrationConstPtr(), false);
}

bool ConvertedAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return _pImage && _pImage->isStoredIn(path);
}

/// `read` reads the run of the image into buffers of its own type.
template <class Read>
BoolResult ConvertedAccessor::convert(vlUInt64 t, vlUInt64 nbPixels, std::vector<void*> const& buffers,
                                      Read const& read) const {
    eImageBufferType const type = _pImage->getGeometry().getPlanGeometry(t).getBufferType();
    vlUInt64 const pixelSize = getImageBufferBaseSize(type);
    PageBuffer memory;
    BoolResult result = makeRoom(memory, nbPixels * pixelSize * buffers.size());
    std::vector<void*> held;
    for (std::size_t index = 0; result && index < buffers.size(); ++index) {
        held.push_back(memory.getData() + index * nbPixels * pixelSize);
    }
    result = result ? read(held) : result;
    for (std::size_t index = 0; result && index < buffers.size(); ++index) {
        if (_bSwapBytes) {
            swapBytes(held[index], nbPixels, getImageBufferBaseSize(type));
        }
        convertPixels(held[index], type, buffers[index], _conversion, nbPixels, *_pCounts);
    }
    return result;
}

BoolResult ConvertedAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                          vlUInt64 nbPixels, void* buffer) const {
    return convert(t, nbPixels, {buffer}, [&](std::vector<void*> const& held) {
        return _pImage->readPixels(z, c, t, pixelStartOffset, nbPixels, held.front());
    });
}

BoolResult ConvertedAccessor::readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset,
                                          vlUInt64 nbPixels, std::vector<void*> const& buffers) const {
    if (_pPageReader == nullptr) {
        return failure("the image is read one channel at a time");
    }
    return convert(t, nbPixels, buffers, [&](std::vector<void*> const& held) {
        return _pPageReader->readRawPage(z, t, pixelStartOffset, nbPixels, held);
    });
}

void ConvertedAccessor::clearDerived() {
    _pImage.reset();
}

ObservedSource convertImage(ObservedSource const& source, PixelConversion const& conversion,
                            std::shared_ptr<ConversionCounts> const& pCounts) {
    if (findPlaneOfOtherType(source.pImage->getGeometry())) {
        throw WorkFailure("the planes along Z have several pixel types, which cannot be converted");
    }
    DiskImagePtr const pConverted =
        createDiskImage(boost::make_shared<ConvertedAccessor>(source, conversion, pCounts));
    pConverted->setUserPropertiesStr(source.pImage->getUserPropertiesStr());
    return {pConverted, false, source.bWholePlanes};
}

} // namespace velmo::tool
