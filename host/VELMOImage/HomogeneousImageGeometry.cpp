// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/detail/GeometryRecord.h"
#include "VELMOSerialization/DynamicRegistrator.h"

namespace velmo::image {

namespace {

DynamicRegistrator<HomogeneousImageGeometry> const g_registrator;

} // namespace

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

void HomogeneousImageGeometry::requireStorableTypes() const {
    requireKnownEnumValue(_bufferType, eIBT_Label8);
}

void HomogeneousImageGeometry::writeBufferTypes(BaseOArchive& archive) const {
    writeEnum(archive, "bufferType", _bufferType);
}

void HomogeneousImageGeometry::readBufferTypes(BaseIArchive& archive) {
    _bufferType = readEnum(archive, "bufferType", eIBT_Label8);
}

} // namespace velmo::image
