// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Utils/PlanTable.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/CheckedArithmetic.h>

namespace velmo {
namespace image {
namespace file {

vlUInt64 PlanTable::process(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    vlUInt64 const dataSize = geometry.getFullMemorySize();
    _dataStartOffset = dataStartOffset;
    _pGeometry = duplicateGeometry(geometry);
    return checkedAdd(dataStartOffset, dataSize).value_or(NumericLimits<vlUInt64>::s_max);
}

std::optional<vlUInt64> PlanTable::find(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    if (!_pGeometry || !_pGeometry->hasPlan(z, c, t)) {
        return std::nullopt;
    }
    return checkedAdd(_dataStartOffset, _pGeometry->getPlanOffset(z, c, t));
}

} // namespace file
} // namespace image
} // namespace velmo
