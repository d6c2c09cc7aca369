// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageAccessor.h"

#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/DynamicObjectFactory.h"
#include "VELMOUtil/Failures.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image {

std::string BaseImageAccessor::getImageInfoStr() const {
    return _bInit ? getClassName() + ' ' + describeGeometry(getGeometry()) : getClassName();
}

void BaseImageAccessor::clear() {
    clearDerived();
    clearBase();
}

void BaseImageAccessor::clearBase() {
    _pGeometry.reset();
    _pCalibration.reset();
    _bInit = false;
}

BaseImageGeometry const& BaseImageAccessor::getGeometry() const {
    if (!_pGeometry) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageAccessorMessage::eIAM_NotInitialised);
    }
    return *_pGeometry;
}

void BaseImageAccessor::initImage(BaseImageGeometry const& geometry,
                                  GeometricCalibrationConstPtr const& pCalibration) {
    _pGeometry = duplicateGeometry(geometry);
    _pCalibration = pCalibration;
    _bInit = true;
}

void BaseDiskImageAccessor::initBase(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                     BaseImageGeometry const& geometry,
                                     GeometricCalibrationConstPtr const& calibration, bool sharedRemote) {
    _path = boost::filesystem::path(path);
    _accessMode = accessMode;
    _bSharedRemote = sharedRemote;
    initImage(geometry, GeometricCalibrationConstPtr(calibration));
}

void BaseDiskImageAccessor::clearBase() {
    BaseImageAccessor::clearBase();
    _path.clear();
    _accessMode = eIAM_ReadOnly;
    _bSharedRemote = false;
}

bool BaseDiskImageAccessor::isStoredIn(boost::filesystem::path const& path) const {
    boost::system::error_code ignored;
    return boost::filesystem::equivalent(_path, path, ignored);
}

bool BaseDiskImageAccessor::canBeRebuilt() const {
    return DynamicObjectFactory::getInstance().isClassRegistred(getClassName());
}

BoolResult BaseDiskImageAccessor::write(BaseOArchive& archive) const {
    archive << oItem("isInit", static_cast<int>(isInit()));
    if (!isInit()) {
        return success();
    }
    archive << oItem("filePath", _path.string()) << oItem("accessMode", static_cast<vlUInt64>(_accessMode))
            << oItem("sharedRemote", static_cast<int>(_bSharedRemote));
    archive.writeObject("geometry", duplicateGeometry(getGeometry()));
    archive.writeObject("calibration", getGeometricCalibrationConstPtr());
    return success();
}

BoolResult BaseDiskImageAccessor::read(BaseIArchive& archive) {
    clearBase();
    int bInit = 0;
    archive >> iItem("isInit", bInit);
    if (bInit == 0) {
        return success();
    }
    std::string path;
    vlUInt64 accessMode = 0;
    int bSharedRemote = 0;
    archive >> iItem("filePath", path) >> iItem("accessMode", accessMode) >>
        iItem("sharedRemote", bSharedRemote);
    auto const pGeometry = readObjectOf<BaseImageGeometry>(archive, "geometry");
    auto const pCalibration = readObjectOf<GeometricCalibration>(archive, "calibration");
    if (!pGeometry) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_RecordWithoutGeometry);
    }
    initBase(path, static_cast<eImageAccessMode>(accessMode), *pGeometry, pCalibration, bSharedRemote != 0);
    return success();
}

} // namespace velmo::image
