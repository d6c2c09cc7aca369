// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageGeometry.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOImage/detail/GeometryRecord.h"
#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/ClassVersion.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <initializer_list>
#include <locale>
#include <sstream>

namespace velmo::image {

namespace {

constexpr unsigned int g_recordVersion = 1;

/// 0 where a factor is 0, whatever the others; else empty where a factor is, or where the product passes 64
/// bits.
std::optional<vlUInt64> product(std::initializer_list<std::optional<vlUInt64>> factors) {
    if (std::find(factors.begin(), factors.end(), std::optional<vlUInt64>(0)) != factors.end()) {
        return 0;
    }
    std::optional<vlUInt64> result = 1;
    for (auto const& factor : factors) {
        result = factor ? checkedMultiply(*result, *factor) : std::nullopt;
        if (!result) {
            return std::nullopt;
        }
    }
    return result;
}

} // namespace

std::string const& BaseImageGeometry::getTypeName() {
    static std::string const typeName("velmo::image::BaseImageGeometry");
    return typeName;
}

ImagePlanGeometry BaseImageGeometry::getPlanGeometry(vlUInt64 t) const {
    if (t >= getSizeT()) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_TimeStepOutOfRange, t, getSizeT());
    }
    return ImagePlanGeometry(_sizeX, _sizeY, getBufferTypeAt(t));
}

vlUInt64 BaseImageGeometry::getPlanNbPixels() const {
    return orTooLarge(product({_sizeX, _sizeY}));
}

vlUInt64 BaseImageGeometry::getNbPixels() const {
    return orTooLarge(product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getSizeT()}));
}

vlUInt64 BaseImageGeometry::getPlanMemorySize(vlUInt64 t) const {
    return orTooLarge(product({_sizeX, _sizeY, getPlanGeometry(t).getPixelSize()}));
}

vlUInt64 BaseImageGeometry::getFullMemorySize() const {
    return orTooLarge(product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getPixelSizesBefore(getSizeT())}));
}

vlUInt64 BaseImageGeometry::getNbPlans() const {
    return orTooLarge(product({getSizeZ(), getSizeC(), getSizeT()}));
}

PlanIndexes BaseImageGeometry::getPlanIndexes(vlUInt64 plan) const {
    return {plan % getSizeZ(), plan / getSizeZ() % getSizeC(), plan / getSizeZ() / getSizeC()};
}

vlUInt64 BaseImageGeometry::getPlansMemorySize(vlUInt64 nbPlans) const {
    if (nbPlans == getNbPlans()) {
        return getFullMemorySize();
    }
    PlanIndexes const next = getPlanIndexes(nbPlans);
    return getPlanOffset(next.z, next.c, next.t);
}

bool BaseImageGeometry::hasPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    return z < getSizeZ() && c < getSizeC() && t < getSizeT();
}

vlUInt64 BaseImageGeometry::getPlanNumber(PlanIndexes const& plan) const {
    auto const before = product({plan.t, getSizeC()});
    auto const column = before ? checkedAdd(*before, plan.c) : std::nullopt;
    auto const first = product({column, getSizeZ()});
    return orTooLarge(first ? checkedAdd(*first, plan.z) : std::nullopt);
}

vlUInt64 BaseImageGeometry::getPlanOffset(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    auto const stepsBefore = product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getPixelSizesBefore(t)});
    auto const inStep = product({getPlanNumber({z, c, 0}), getPlanMemorySize(t)});
    return orTooLarge(stepsBefore && inStep ? checkedAdd(*stepsBefore, *inStep) : std::nullopt);
}

void BaseImageGeometry::setParts(VolumeGeometry const& volume, ColorGeometry const& color,
                                 TemporalGeometry const& temporal, vlUInt64 sizeX, vlUInt64 sizeY) {
    _volume = volume;
    _color = color;
    _temporal = temporal;
    _sizeX = sizeX;
    _sizeY = sizeY;
}

void BaseImageGeometry::requireCountable() const {
    getPlanNbPixels();
    getNbPlans();
    getNbPixels();
    getFullMemorySize();
}

vlUInt64 BaseImageGeometry::orTooLarge(std::optional<vlUInt64> const& size) const {
    if (!size) {
        raiseTooLarge();
    }
    return *size;
}

void BaseImageGeometry::raiseTooLarge() const {
    raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_GeometryTooLarge, _sizeX, _sizeY,
                 getSizeZ(), getSizeC(), getSizeT());
}

BoolResult BaseImageGeometry::write(BaseOArchive& archive) const {
    requireKnownEnumValue(getColorGeometryType(), eCGT_User);
    requireStorableTypes();
    requireCountable();
    writeClassVersion(archive, getClassName(), g_recordVersion);
    writeVolume(archive, _volume);
    writeColor(archive, _color);
    writeTemporal(archive, _temporal);
    archive << oItem("sizeX", _sizeX) << oItem("sizeY", _sizeY);
    writeBufferTypes(archive);
    return success();
}

BoolResult BaseImageGeometry::read(BaseIArchive& archive) {
    auto const pCandidate = boost::dynamic_pointer_cast<BaseImageGeometry>(createShared());
    readClassVersion(archive, getClassName(), g_recordVersion, VELMO_HERE);
    pCandidate->readParts(archive);
    pCandidate->readBufferTypes(archive);
    pCandidate->requireCountable();
    copy(*pCandidate);
    return success();
}

void BaseImageGeometry::readParts(BaseIArchive& archive) {
    _volume = readVolume(archive);
    _color = readColor(archive);
    _temporal = readTemporal(archive);
    archive >> iItem("sizeX", _sizeX) >> iItem("sizeY", _sizeY);
}

ImageGeometryPtr geometry(eImageBufferType const& bufferType, vlUInt64 sizeX, vlUInt64 sizeY,
                          VolumeGeometry const& volume, ColorGeometry const& color,
                          TemporalGeometry const& temporal) {
    auto const pGeometry = boost::make_shared<HomogeneousImageGeometry>();
    pGeometry->init(volume, color, temporal, sizeX, sizeY, bufferType);
    return pGeometry;
}

ImageGeometryPtr geometry3d(eImageBufferType const& bufferType, vlUInt64 sizeX, vlUInt64 sizeY,
                            vlUInt64 sizeZ) {
    VolumeGeometry volume;
    volume.init3d(sizeZ);
    return geometry(bufferType, sizeX, sizeY, volume, ColorGeometry(), TemporalGeometry());
}

ImageGeometryPtr duplicateGeometry(BaseImageGeometry const& geometry) {
    return boost::dynamic_pointer_cast<BaseImageGeometry>(geometry.duplicateShared());
}

std::string describeGeometry(BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "x=" << geometry.getSizeX() << " y=" << geometry.getSizeY() << " z=" << geometry.getSizeZ()
         << " c=" << geometry.getSizeC() << " t=" << geometry.getSizeT() << ' ' << geometry.getBufferType();
    return text.str();
}

bool hasBufferType(BaseImageGeometry const& geometry, eImageBufferType const& bufferType) {
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr) {
        return geometry.getBufferType() == bufferType;
    }
    auto const types = pTypes->getBufferTypeRuns().getTypesOfRuns();
    return std::find(types.begin(), types.end(), bufferType) != types.end();
}

std::optional<vlUInt64> findPlaneOfOtherType(BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr || geometry.getSizeT() != 1 || pTypes->getBufferTypeRuns().isUniform()) {
        return std::nullopt;
    }
    return pTypes->getBufferTypeRuns().getFirstChange();
}

bool haveSamePixels(BaseImageGeometry const& left, BaseImageGeometry const& right) {
    if (left.getSizeX() != right.getSizeX() || left.getSizeY() != right.getSizeY() ||
        left.getSizeZ() != right.getSizeZ() || left.getSizeC() != right.getSizeC() ||
        left.getSizeT() != right.getSizeT()) {
        return false;
    }
    if (dynamic_cast<HomogeneousImageGeometry const*>(&left) != nullptr &&
        dynamic_cast<HomogeneousImageGeometry const*>(&right) != nullptr) {
        return left.getBufferType() == right.getBufferType();
    }
    for (vlUInt64 t = 0; t < left.getSizeT(); ++t) {
        if (left.getPlanGeometry(t).getBufferType() != right.getPlanGeometry(t).getBufferType()) {
            return false;
        }
    }
    return true;
}

} // namespace velmo::image
