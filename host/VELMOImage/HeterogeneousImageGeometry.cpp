// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometryRecord.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOSerialization/DynamicRegistrator.h"
#include "VELMOUtil/LogMessageFormater.h"

namespace velmo {
namespace image {

namespace {

DynamicRegistrator<HeterogeneousImageGeometry> const g_registrator;

} // namespace

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
        raiseBufferTypesCount(nbTypes);
    }
    _pTypes = std::make_shared<Types const>(std::move(bufferTypes));
}

void HeterogeneousImageGeometry::raiseBufferTypesCount(vlUInt64 nbTypes) const {
    raiseGuarded(VELMO_HERE, g_velmoImageRaise, [&](LogMessageFormater& formater) {
        formater[eImageMessage::eIM_BufferTypesCount] % nbTypes % getSizeZ() % getSizeT();
    });
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
    if (t >= _pTypes->pixelSizesBefore.size()) { // the time steps were changed behind the types
        raiseBufferTypesCount(_pTypes->types.size());
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

} // namespace image
} // namespace velmo
