// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImageAccessor.h"

#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/ClassVersion.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOUtil/Failures.h"
#include "VELMOUtil/VELMOUtilLog.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace velmo::image {

namespace {

constexpr unsigned int g_recordVersion = 1;

DynamicRegistrator<JoinedImageAccessor> const g_registrator;

BoolResult failNotInitialised() {
    return failMessage(g_velmoImageRaise, eImageAccessorMessage::eIAM_NotInitialised);
}

[[noreturn]] void raiseNoCopySupport(RaiseSite const& site) {
    raiseMessage(site, g_velmoUtilRaise, eVELMOUtilErrors::eVUE_CopyNotSupported,
                 JoinedImageAccessor::getTypeName());
}

} // namespace

std::string const& JoinedImageAccessor::getTypeName() {
    static std::string const typeName("velmo::image::JoinedImageAccessor");
    return typeName;
}

BaseDynamicObject* JoinedImageAccessor::createNewObject() {
    return new JoinedImageAccessor;
}

DynamicObjectPtr JoinedImageAccessor::createSharedObject() {
    return boost::make_shared<JoinedImageAccessor>();
}

BaseDynamicObject* JoinedImageAccessor::duplicate() const {
    raiseNoCopySupport(VELMO_HERE);
}

DynamicObjectPtr JoinedImageAccessor::duplicateShared() const {
    raiseNoCopySupport(VELMO_HERE);
}

void JoinedImageAccessor::copy(BaseDynamicObject const& /*other*/) {
    raiseNoCopySupport(VELMO_HERE);
}

BoolResult JoinedImageAccessor::join(std::vector<PartPtr> const& parts, eJoinAxis axis) {
    std::vector<PartPtr> kept(parts); // may be the accessor's own
    clear();
    std::vector<BaseImageGeometry const*> geometries;
    geometries.reserve(kept.size());
    for (PartPtr const& pPart : kept) {
        geometries.push_back(&pPart->getGeometry());
    }
    BoolResult result = _layout.init(geometries, axis);
    if (result) {
        _parts = std::move(kept);
        _axis = axis;
        BaseDiskImageAccessor const& first = *_parts.front();
        initBase(first.getFilePath(), first.getAccessMode(), _layout.getGeometry(),
                 first.getGeometricCalibrationConstPtr(), first.hasSharedRemoteAccess());
    }
    return result;
}

BoolResult JoinedImageAccessor::write(BaseOArchive& archive) const {
    writeClassVersion(archive, getTypeName(), g_recordVersion);
    archive << oItem("axis", static_cast<int>(_axis)) << oItem("nbParts", vlUInt64{_parts.size()});
    for (PartPtr const& pPart : _parts) {
        archive.writeObject("part", pPart);
    }
    return success();
}

BoolResult JoinedImageAccessor::read(BaseIArchive& archive) {
    clear();
    readClassVersion(archive, getTypeName(), g_recordVersion, VELMO_HERE);
    int axis = 0;
    vlUInt64 nbParts = 0;
    archive >> iItem("axis", axis) >> iItem("nbParts", nbParts);
    std::vector<PartPtr> parts;
    for (vlUInt64 part = 0; part < nbParts; ++part) {
        parts.push_back(readObjectOf<BaseDiskImageAccessor>(archive, "part"));
        if (!parts.back()) {
            return failMessage(g_velmoImageRaise, eImageMessage::eIM_RecordWithoutAccessor);
        }
    }
    return parts.empty() ? success() : join(parts, axis == 0 ? eJoinAxis::Z : eJoinAxis::T);
}

bool JoinedImageAccessor::isStoredIn(boost::filesystem::path const& path) const {
    return std::any_of(_parts.begin(), _parts.end(),
                       [&](PartPtr const& pPart) { return pPart->isStoredIn(path); });
}

bool JoinedImageAccessor::canBeRebuilt() const {
    return BaseDiskImageAccessor::canBeRebuilt() &&
           std::all_of(_parts.begin(), _parts.end(),
                       [](PartPtr const& pPart) { return pPart->canBeRebuilt(); });
}

bool JoinedImageAccessor::hasBinary8BitsStorage() const {
    return std::all_of(_parts.begin(), _parts.end(),
                       [](PartPtr const& pPart) { return pPart->hasBinary8BitsStorage(); });
}

BoolResult JoinedImageAccessor::resizeData(BaseImageGeometry const& /*geometry*/) {
    return failMessage(g_velmoImageRaise, eImageMessage::eIM_JoinedResize);
}

BoolResult JoinedImageAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                            vlUInt64 nbPixels, void* buffer) const {
    if (_parts.empty()) {
        return failNotInitialised();
    }
    auto const [part, plan] = _layout.locate(z, c, t);
    return _parts[part]->readRawData(plan.z, plan.c, plan.t, pixelStartOffset, nbPixels, buffer);
}

BoolResult JoinedImageAccessor::writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                             vlUInt64 nbPixels, void const* buffer) {
    if (_parts.empty()) {
        return failNotInitialised();
    }
    auto const [part, plan] = _layout.locate(z, c, t);
    return _parts[part]->writeRawData(plan.z, plan.c, plan.t, pixelStartOffset, nbPixels, buffer);
}

void JoinedImageAccessor::clearDerived() {
    _parts.clear();
}

} // namespace velmo::image
