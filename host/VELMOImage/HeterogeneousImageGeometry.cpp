// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOImage/detail/GeometryRecord.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOUtil/Failures.h"

namespace velmo::image {

namespace {

DynamicRegistrator<HeterogeneousImageGeometry> const g_registrator;

} // namespace

std::string const& HeterogeneousImageGeometry::getTypeName() {
    static std::string const typeName("velmo::image::HeterogeneousImageGeometry");
    return typeName;
}

HeterogeneousImageGeometry::HeterogeneousImageGeometry()
    : _pTypes(std::make_shared<BufferTypeRuns const>(std::vector<eImageBufferType>{eIBT_None})) {}

void HeterogeneousImageGeometry::init(VolumeGeometry const& volume, ColorGeometry const& color,
                                      TemporalGeometry const& temporal, vlUInt64 sizeX, vlUInt64 sizeY,
                                      std::vector<eImageBufferType> const& bufferTypes) {
    init(volume, color, temporal, sizeX, sizeY, BufferTypeRuns(bufferTypes));
}

void HeterogeneousImageGeometry::init(VolumeGeometry const& volume, ColorGeometry const& color,
                                      TemporalGeometry const& temporal, vlUInt64 sizeX, vlUInt64 sizeY,
                                      BufferTypeRuns const& bufferTypes) {
    HeterogeneousImageGeometry candidate;
    candidate.setParts(volume, color, temporal, sizeX, sizeY);
    candidate.initBufferTypes(bufferTypes);
    candidate.requireCountable();
    *this = candidate;
}

void HeterogeneousImageGeometry::requireCountOf(BufferTypeRuns const& bufferTypes) const {
    vlUInt64 const nbTypes = bufferTypes.getNbSteps();
    bool const bForTimeSteps = nbTypes == getSizeT();
    bool const bForPlanes = getSizeT() == 1 && nbTypes == getSizeZ();
    if (nbTypes == 0 || (!bForTimeSteps && !bForPlanes)) {
        raiseBufferTypesCount(nbTypes);
    }
}

void HeterogeneousImageGeometry::initBufferTypes(BufferTypeRuns bufferTypes) {
    requireCountOf(bufferTypes);
    _pTypes = std::make_shared<BufferTypeRuns const>(std::move(bufferTypes));
}

void HeterogeneousImageGeometry::raiseBufferTypesCount(vlUInt64 nbTypes) const {
    raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_BufferTypesCount, nbTypes, getSizeZ(),
                 getSizeT());
}

std::vector<eImageBufferType> HeterogeneousImageGeometry::getBufferTypes() const {
    return _pTypes->expand();
}

eImageBufferType HeterogeneousImageGeometry::getBufferType() const {
    return _pTypes->getType(0);
}

void HeterogeneousImageGeometry::setBufferType(eImageBufferType const& bufferType) {
    HeterogeneousImageGeometry candidate(*this);
    BufferTypeRuns bufferTypes;
    bufferTypes.add(bufferType, _pTypes->getNbSteps());
    candidate._pTypes = std::make_shared<BufferTypeRuns const>(std::move(bufferTypes));
    candidate.requireCountable();
    *this = candidate;
}

eImageBufferType HeterogeneousImageGeometry::getBufferTypeAt(vlUInt64 t) const {
    return _pTypes->getType(t);
}

std::optional<vlUInt64> HeterogeneousImageGeometry::getPixelSizesBefore(vlUInt64 t) const {
    if (t > _pTypes->getNbSteps()) { // the time steps were changed behind the types
        raiseBufferTypesCount(_pTypes->getNbSteps());
    }
    return _pTypes->getPixelSizesBefore(t);
}

void HeterogeneousImageGeometry::requireStorableTypes() const {
    requireCountOf(*_pTypes);
    for (eImageBufferType const type : _pTypes->getTypesOfRuns()) {
        requireKnownEnumValue(type, eIBT_Label8);
    }
}

void HeterogeneousImageGeometry::writeBufferTypes(BaseOArchive& archive) const {
    vlUInt64 const nbTypes = _pTypes->getNbSteps();
    archive << oItem("nbBufferTypes", nbTypes);
    for (vlUInt64 step = 0; step < nbTypes; ++step) {
        writeEnum(archive, "bufferType", _pTypes->getType(step));
    }
}

// The announced count is worth nothing before its types have come: nothing is reserved for it.
void HeterogeneousImageGeometry::readBufferTypes(BaseIArchive& archive) {
    vlUInt64 nbTypes = 0;
    archive >> iItem("nbBufferTypes", nbTypes);
    BufferTypeRuns bufferTypes;
    for (vlUInt64 index = 0; index < nbTypes; ++index) {
        bufferTypes.add(readEnum(archive, "bufferType", eIBT_Label8), 1);
    }
    initBufferTypes(std::move(bufferTypes));
}

} // namespace velmo::image
