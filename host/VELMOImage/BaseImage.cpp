// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/BaseImage.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

namespace velmo::image {

namespace {

BoolResult copyPlans(BaseImage const& source, MemoryImage& target) {
    BaseImageGeometry const& geometry = source.getGeometry();
    if (geometry.getFullMemorySize() == 0) {
        return success();
    }
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                BoolResult result = source.readPixels(z, c, t, 0, nbPixels, target.accessPlan(z, c, t));
                if (!result) {
                    return result;
                }
            }
        }
    }
    return success();
}

} // namespace

BaseImage::~BaseImage() = default;

BoolResult BaseImage::init(BaseImageGeometry const& /*geometry*/) {
    return failMessage(g_velmoImageRaise, eImageMessage::eIM_InitNotSupported);
}

BaseImageGeometry const& BaseImage::getGeometry() const {
    if (!_pGeometry) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_NotInitialised);
    }
    return *_pGeometry;
}

void BaseImage::setGeometry(BaseImageGeometry const& geometry) {
    _pGeometry = duplicateGeometry(geometry); // may throw: the description changes behind it
    _pCalibration.reset();
    _userProperties.clear();
}

eImageBufferType BaseImage::getBufferType() const {
    return getGeometry().getBufferType();
}

eTemporalGeometryType BaseImage::getTemporalGeometryType() const {
    return getGeometry().getTemporalGeometryType();
}

bool BaseImage::isStoredIn(boost::filesystem::path const& /*path*/) const {
    return false;
}

bool BaseImage::requiresCpuCopy() const {
    return false;
}

ImageConstPtr BaseImage::createCpuCopy() const {
    auto const pCopy = boost::make_shared<MemoryImage>();
    BoolResult result = pCopy->init(getGeometry());
    if (result) {
        result = copyPlans(*this, *pCopy);
    }
    if (!result) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_CpuCopyFailed, result);
    }
    pCopy->setGeometricCalibration(_pCalibration);
    pCopy->setUserPropertiesStr(_userProperties);
    return pCopy;
}

BoolResult BaseImage::readPixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const {
    requireInside(z, c, t, pixelStart, nbPixels);
    return readPixelsDerived(z, c, t, pixelStart, nbPixels, buffer);
}

BoolResult BaseImage::writePixels(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) {
    requireInside(z, c, t, pixelStart, nbPixels);
    return writePixelsDerived(z, c, t, pixelStart, nbPixels, buffer);
}

void* BaseImage::accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    requireInside(z, c, t, 0, 0);
    return accessPlanDerived(z, c, t);
}

void const* BaseImage::accessPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    requireInside(z, c, t, 0, 0);
    return accessPlanDerived(z, c, t);
}

void* BaseImage::accessPlanDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/) const {
    return nullptr;
}

void BaseImage::requireInside(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                              vlUInt64 nbPixels) const {
    BaseImageGeometry const& geometry = getGeometry();
    auto const pixelEnd = checkedAdd(pixelStart, nbPixels);
    if (geometry.hasPlan(z, c, t) && pixelEnd && *pixelEnd <= geometry.getPlanNbPixels()) {
        return;
    }
    raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_PixelsOutOfRange, pixelStart, nbPixels, z,
                 c, t, geometry.getSizeZ(), geometry.getSizeC(), geometry.getSizeT(),
                 geometry.getPlanNbPixels());
}

} // namespace velmo::image
