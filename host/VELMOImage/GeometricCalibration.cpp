// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometricCalibration.h"

#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/ClassVersion.h"
#include "VELMOSerialization/DynamicRegistrator.h"

namespace velmo::image {

namespace {

constexpr unsigned int g_recordVersion = 1;

DynamicRegistrator<GeometricCalibration> const g_registrator;

} // namespace

std::string const& GeometricCalibration::getTypeName() {
    static std::string const typeName("velmo::image::GeometricCalibration");
    return typeName;
}

void GeometricCalibration::init2d(float sizeX, float sizeY, std::string const& unit, float first,
                                  float second, float third, float fourth, float fifth) {
    init3d(sizeX, sizeY, 1.0F, unit, first, second, third, fourth, fifth, 0.0F, 0.0F);
    _b3d = false;
}

void GeometricCalibration::init3d(float sizeX, float sizeY, float sizeZ, std::string const& unit, float first,
                                  float second, float third, float fourth, float fifth, float sixth,
                                  float seventh) {
    _b3d = true;
    _sizeX = sizeX;
    _sizeY = sizeY;
    _sizeZ = sizeZ;
    _unit = unit;
    _furtherTerms = {first, second, third, fourth, fifth, sixth, seventh};
}

BoolResult GeometricCalibration::write(BaseOArchive& archive) const {
    writeClassVersion(archive, getTypeName(), g_recordVersion);
    archive << oItem("is3d", static_cast<int>(_b3d)) << oItem("pixelSizeX", _sizeX)
            << oItem("pixelSizeY", _sizeY) << oItem("pixelSizeZ", _sizeZ) << oItem("unit", _unit);
    for (float const& term : _furtherTerms) {
        archive << oItem("furtherTerm", term);
    }
    return success();
}

BoolResult GeometricCalibration::read(BaseIArchive& archive) {
    readClassVersion(archive, getTypeName(), g_recordVersion, VELMO_HERE);
    GeometricCalibration candidate;
    int is3d = 0;
    archive >> iItem("is3d", is3d) >> iItem("pixelSizeX", candidate._sizeX) >>
        iItem("pixelSizeY", candidate._sizeY) >> iItem("pixelSizeZ", candidate._sizeZ) >>
        iItem("unit", candidate._unit);
    candidate._b3d = is3d != 0;
    for (float& term : candidate._furtherTerms) {
        archive >> iItem("furtherTerm", term);
    }
    *this = candidate;
    return success();
}

GeometricCalibrationPtr createGeometricCalibration2d(float sizeX, float sizeY, std::string const& unit,
                                                     float first, float second, float third, float fourth,
                                                     float fifth) {
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init2d(sizeX, sizeY, unit, first, second, third, fourth, fifth);
    return pCalibration;
}

} // namespace velmo::image
