// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageGeometry.h"

#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/ClassVersion.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/CheckedArithmetic.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <algorithm>
#include <initializer_list>

namespace velmo {
namespace image {

namespace {

constexpr unsigned int g_recordVersion = 1;

DynamicRegistrator<HomogeneousImageGeometry> const g_homogeneousRegistrator;
DynamicRegistrator<HeterogeneousImageGeometry> const g_heterogeneousRegistrator;

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

/// An enumeration as an item: written as its number, and refused on reading past its last enumerator.
template <class Enum>
void writeEnum(BaseOArchive& archive, std::string const& name, Enum value) {
    archive << oItem(name, static_cast<vlUInt64>(value));
}

template <class Enum>
Enum readEnum(BaseIArchive& archive, std::string const& name, Enum last) {
    vlUInt64 value = 0;
    archive >> iItem(name, value);
    if (value > static_cast<vlUInt64>(last)) {
        raiseGuarded(VELMO_HERE, g_velmoSerializationRaise, [&](LogMessageFormater& formater) {
            formater[eVELMOSerializationMessage::eVSM_UnknownEnumValue] % value;
        });
    }
    return static_cast<Enum>(value);
}

void writeColor(BaseOArchive& archive, ColorGeometry const& color) {
    writeEnum(archive, "colorGeometryType", color.getColorGeometryType());
    archive << oItem("sizeC", color.getSizeC());
    archive << oItem("minIsBlack", static_cast<int>(color.minIsBlack()));
    vlUInt64 const nbNames = color.getChannelNames().size();
    archive << oItem("nbChannelNames", nbNames);
    for (auto const& [index, name] : color.getChannelNames()) {
        archive << oItem("channelIndex", index) << oItem("channelName", name);
    }
}

ColorGeometry readColor(BaseIArchive& archive) {
    ColorGeometry color;
    color.init(readEnum(archive, "colorGeometryType", eCGT_User));
    vlUInt64 sizeC = 0;
    archive >> iItem("sizeC", sizeC);
    if (color.getColorGeometryType() == eCGT_User) {
        color.initUser(sizeC);
    }
    int minIsBlack = 1;
    archive >> iItem("minIsBlack", minIsBlack);
    color.setMinIsBlack(minIsBlack != 0);
    vlUInt64 nbNames = 0;
    archive >> iItem("nbChannelNames", nbNames);
    for (vlUInt64 nbRead = 0; nbRead < nbNames; ++nbRead) {
        vlUInt64 index = 0;
        std::string name;
        archive >> iItem("channelIndex", index) >> iItem("channelName", name);
        color.setChannelName(name, index);
    }
    return color;
}

VolumeGeometry readVolume(BaseIArchive& archive) {
    VolumeGeometry volume;
    vlUInt64 sizeZ = 0;
    eVolumeGeometryType const type = readEnum(archive, "volumeGeometryType", eVGT_3d);
    archive >> iItem("sizeZ", sizeZ);
    if (type == eVGT_3d) {
        volume.init3d(sizeZ);
    }
    return volume;
}

TemporalGeometry readTemporal(BaseIArchive& archive) {
    TemporalGeometry temporal;
    vlUInt64 sizeT = 0;
    eTemporalGeometryType const type = readEnum(archive, "temporalGeometryType", eTGT_Sequence);
    archive >> iItem("sizeT", sizeT);
    if (type == eTGT_Sequence) {
        temporal.initSequence(sizeT);
    }
    return temporal;
}

} // namespace

// BaseImageGeometry

ImagePlanGeometry BaseImageGeometry::getPlanGeometry(vlUInt64 t) const {
    if (t >= getSizeT()) {
        raiseGuarded(VELMO_HERE, g_velmoImageRaise, [&](LogMessageFormater& formater) {
            formater[eImageMessage::eIM_TimeStepOutOfRange] % t % getSizeT();
        });
    }
    return ImagePlanGeometry(_sizeX, _sizeY, getBufferTypeAt(t));
}

vlUInt64 BaseImageGeometry::getPlanNbPixels() const {
    auto const nbPixels = product({_sizeX, _sizeY});
    return nbPixels ? *nbPixels : (raiseTooLarge(), 0);
}

vlUInt64 BaseImageGeometry::getNbPixels() const {
    auto const nbPixels = product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getSizeT()});
    return nbPixels ? *nbPixels : (raiseTooLarge(), 0);
}

vlUInt64 BaseImageGeometry::getPlanMemorySize(vlUInt64 t) const {
    ImagePlanGeometry const plan = getPlanGeometry(t);
    auto const nbBytes = product({_sizeX, _sizeY, getImageBufferBaseSize(plan.getBufferType())});
    return nbBytes ? *nbBytes : (raiseTooLarge(), 0);
}

vlUInt64 BaseImageGeometry::getFullMemorySize() const {
    auto const nbBytes = product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getPixelSizesBefore(getSizeT())});
    return nbBytes ? *nbBytes : (raiseTooLarge(), 0);
}

vlUInt64 BaseImageGeometry::getNbPlans() const {
    auto const nbPlans = product({getSizeZ(), getSizeC(), getSizeT()});
    return nbPlans ? *nbPlans : (raiseTooLarge(), 0);
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

vlUInt64 BaseImageGeometry::getPlanOffset(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    auto const stepsBefore = product({_sizeX, _sizeY, getSizeZ(), getSizeC(), getPixelSizesBefore(t)});
    auto const plansBefore = product({c, getSizeZ()});
    if (!stepsBefore || !plansBefore) {
        raiseTooLarge();
    }
    auto const inStep = product({checkedAdd(*plansBefore, z), getPlanMemorySize(t)});
    auto const offset = inStep ? checkedAdd(*stepsBefore, *inStep) : std::nullopt;
    return offset ? *offset : (raiseTooLarge(), 0);
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

void BaseImageGeometry::raiseTooLarge() const {
    raiseGuarded(VELMO_HERE, g_velmoImageRaise, [&](LogMessageFormater& formater) {
        formater[eImageMessage::eIM_GeometryTooLarge] % _sizeX % _sizeY % getSizeZ() % getSizeC() %
            getSizeT();
    });
}

BoolResult BaseImageGeometry::write(BaseOArchive& archive) const {
    writeClassVersion(archive, getClassName(), g_recordVersion);
    writeEnum(archive, "volumeGeometryType", getVolumeGeometryType());
    archive << oItem("sizeZ", getSizeZ());
    writeColor(archive, _color);
    writeEnum(archive, "temporalGeometryType", getTemporalGeometryType());
    archive << oItem("sizeT", getSizeT());
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

// HomogeneousImageGeometry

std::string const& HomogeneousImageGeometry::getTypeName() {
    static std::string const typeName("velmo::image::HomogeneousImageGeometry");
    return typeName;
}

void HomogeneousImageGeometry::init(VolumeGeometry const& volume, ColorGeometry const& color,
                                    TemporalGeometry const& temporal, vlUInt64 sizeX, vlUInt64 sizeY,
                                    eImageBufferType const& bufferType) {
    HomogeneousImageGeometry candidate;
    candidate.setParts(volume, color, temporal, sizeX, sizeY);
    candidate._bufferType = bufferType;
    candidate.requireCountable();
    *this = candidate;
}

void HomogeneousImageGeometry::setBufferType(eImageBufferType const& bufferType) {
    HomogeneousImageGeometry candidate(*this);
    candidate._bufferType = bufferType;
    candidate.requireCountable();
    *this = candidate;
}

eImageBufferType HomogeneousImageGeometry::getBufferTypeAt(vlUInt64 /*t*/) const {
    return _bufferType;
}

std::optional<vlUInt64> HomogeneousImageGeometry::getPixelSizesBefore(vlUInt64 t) const {
    return checkedMultiply(t, getImageBufferBaseSize(_bufferType));
}

void HomogeneousImageGeometry::writeBufferTypes(BaseOArchive& archive) const {
    writeEnum(archive, "bufferType", _bufferType);
}

void HomogeneousImageGeometry::readBufferTypes(BaseIArchive& archive) {
    _bufferType = readEnum(archive, "bufferType", eIBT_Label8);
}

// HeterogeneousImageGeometry

struct HeterogeneousImageGeometry::Types {
    std::vector<eImageBufferType> types;
    std::vector<vlUInt64> pixelSizesBefore; ///< running sum of the pixel sizes, one entry more than types

    explicit Types(std::vector<eImageBufferType> bufferTypes) : types(std::move(bufferTypes)) {
        pixelSizesBefore.reserve(types.size() + 1);
        pixelSizesBefore.push_back(0);
        for (eImageBufferType const type : types) {
            pixelSizesBefore.push_back(pixelSizesBefore.back() + getImageBufferBaseSize(type));
        }
    }
};

std::string const& HeterogeneousImageGeometry::getTypeName() {
    static std::string const typeName("velmo::image::HeterogeneousImageGeometry");
    return typeName;
}

HeterogeneousImageGeometry::HeterogeneousImageGeometry()
    : _pTypes(std::make_shared<Types const>(std::vector<eImageBufferType>{eIBT_None})) {}

void HeterogeneousImageGeometry::init(VolumeGeometry const& volume, ColorGeometry const& color,
                                      TemporalGeometry const& temporal, vlUInt64 sizeX, vlUInt64 sizeY,
                                      std::vector<eImageBufferType> const& bufferTypes) {
    HeterogeneousImageGeometry candidate;
    candidate.setParts(volume, color, temporal, sizeX, sizeY);
    candidate.initBufferTypes(bufferTypes);
    candidate.requireCountable();
    *this = candidate;
}

void HeterogeneousImageGeometry::initBufferTypes(std::vector<eImageBufferType> bufferTypes) {
    vlUInt64 const nbTypes = bufferTypes.size();
    bool const bForTimeSteps = nbTypes == getSizeT();
    bool const bForPlanes = getSizeT() == 1 && nbTypes == getSizeZ();
    if (nbTypes == 0 || (!bForTimeSteps && !bForPlanes)) {
        raiseGuarded(VELMO_HERE, g_velmoImageRaise, [&](LogMessageFormater& formater) {
            formater[eImageMessage::eIM_BufferTypesCount] % nbTypes % getSizeZ() % getSizeT();
        });
    }
    _pTypes = std::make_shared<Types const>(std::move(bufferTypes));
}

std::vector<eImageBufferType> const& HeterogeneousImageGeometry::getBufferTypes() const {
    return _pTypes->types;
}

eImageBufferType HeterogeneousImageGeometry::getBufferType() const {
    return _pTypes->types.front();
}

void HeterogeneousImageGeometry::setBufferType(eImageBufferType const& bufferType) {
    HeterogeneousImageGeometry candidate(*this);
    candidate._pTypes =
        std::make_shared<Types const>(std::vector<eImageBufferType>(_pTypes->types.size(), bufferType));
    candidate.requireCountable();
    *this = candidate;
}

eImageBufferType HeterogeneousImageGeometry::getBufferTypeAt(vlUInt64 t) const {
    return t < _pTypes->types.size() ? _pTypes->types[t] : eIBT_None;
}

std::optional<vlUInt64> HeterogeneousImageGeometry::getPixelSizesBefore(vlUInt64 t) const {
    if (t >= _pTypes->pixelSizesBefore.size()) {
        return std::nullopt;
    }
    return _pTypes->pixelSizesBefore[t];
}

void HeterogeneousImageGeometry::writeBufferTypes(BaseOArchive& archive) const {
    vlUInt64 const nbTypes = _pTypes->types.size();
    archive << oItem("nbBufferTypes", nbTypes);
    for (eImageBufferType const type : _pTypes->types) {
        writeEnum(archive, "bufferType", type);
    }
}

// The announced count is worth nothing before its types have come: nothing is reserved for it.
void HeterogeneousImageGeometry::readBufferTypes(BaseIArchive& archive) {
    vlUInt64 nbTypes = 0;
    archive >> iItem("nbBufferTypes", nbTypes);
    std::vector<eImageBufferType> bufferTypes;
    for (vlUInt64 index = 0; index < nbTypes; ++index) {
        bufferTypes.push_back(readEnum(archive, "bufferType", eIBT_Label8));
    }
    initBufferTypes(std::move(bufferTypes));
}

// Free functions

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

} // namespace image
} // namespace velmo
