// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/PlaneTable.h"

#include "Frame/GeometryCopy.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImage/ImageGeometry.h>

namespace velmo::image::file {

namespace {

bool hasPlane(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    return z < geometry.getSizeZ() && c < geometry.getSizeC() && t < geometry.getSizeT();
}

} // namespace

vlUInt64 PlaneTable::process(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    vlUInt64 const dataSize = geometry.getFullMemorySize();
    _dataStartOffset = dataStartOffset;
    _pGeometry = copyGeometry(geometry);
    return checkedAdd(dataStartOffset, dataSize).value_or(NumericLimits<vlUInt64>::s_max);
}

std::optional<vlUInt64> PlaneTable::find(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    if (!_pGeometry || !hasPlane(*_pGeometry, z, c, t)) {
        return std::nullopt;
    }
    return checkedAdd(_dataStartOffset, _pGeometry->getPlanOffset(z, c, t));
}

} // namespace velmo::image::file
