// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageFactory.h"

#include "VELMOImage/ImageAccessor.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <thread>

namespace velmo::image {

ImageFactory& ImageFactory::getInstance() {
    static ImageFactory factory;
    return factory;
}

ImageFactory::ImageFactory()
    : _pEngine(createThreadDistributionEngine(std::max(1U, std::thread::hardware_concurrency()))) {}

BoolResult ImageFactory::createDefaultImage(BaseImageGeometry const& geometry, ImagePtr& out) const {
    auto const pImage = boost::make_shared<MemoryImage>();
    BoolResult result = pImage->init(geometry);
    if (result) {
        out = pImage;
    }
    return result;
}

BoolResult ImageFactory::createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                                         DiskImagePtr& out) const {
    if (!pAccessor) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_AccessorMissing);
    }
    if (!pAccessor->isInit()) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_AccessorNotReady);
    }
    if (!pAccessor->hasBinary8BitsStorage() && hasBufferType(pAccessor->getGeometry(), eIBT_Binary)) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_BinaryPacked, pAccessor->getClassName());
    }
    out = boost::make_shared<DiskImage>(pAccessor);
    return success();
}

BoolResult ImageFactory::createDistributedImage(BaseImageGeometry const& geometry,
                                                DistributedImagePtr& out) const {
    DistributionEnginePtr pEngine;
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        pEngine = _pEngine;
    }
    auto const pImage = boost::make_shared<DistributedImage>(pEngine);
    BoolResult result = pImage->init(geometry);
    if (result) {
        out = pImage;
    }
    return result;
}

BoolResult ImageFactory::createDistributedImage(DistributedImage const& model,
                                                eImageBufferType const& bufferType,
                                                DistributedImagePtr& out) const {
    ImageGeometryPtr const pGeometry = duplicateGeometry(model.getGeometry());
    pGeometry->setBufferType(bufferType);
    return createDistributedImage(*pGeometry, out);
}

void ImageFactory::setDistributionEngine(DistributionEnginePtr const& pEngine) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _pEngine = pEngine;
}

} // namespace velmo::image
