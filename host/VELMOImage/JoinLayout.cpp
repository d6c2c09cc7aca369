// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinLayout.h"

#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/CheckedArithmetic.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace velmo {
namespace image {

namespace {

vlUInt64 getLength(BaseImageGeometry const& geometry, eJoinAxis axis) {
    return axis == eJoinAxis::Z ? geometry.getSizeZ() : geometry.getSizeT();
}

bool fits(BaseImageGeometry const& part, BaseImageGeometry const& first, eJoinAxis axis) {
    bool const bSamePlane = part.getSizeX() == first.getSizeX() && part.getSizeY() == first.getSizeY() &&
                            part.getSizeC() == first.getSizeC() &&
                            part.getColorGeometryType() == first.getColorGeometryType();
    if (axis == eJoinAxis::T) {
        return bSamePlane && part.getSizeZ() == first.getSizeZ();
    }
    return bSamePlane && part.getSizeT() == 1 && part.getBufferType() == first.getBufferType();
}

std::vector<eImageBufferType> collectTypes(std::vector<BaseImageGeometry const*> const& parts) {
    std::vector<eImageBufferType> types;
    for (BaseImageGeometry const* const pPart : parts) {
        for (vlUInt64 t = 0; t < pPart->getSizeT(); ++t) {
            types.push_back(pPart->getPlanGeometry(t).getBufferType());
        }
    }
    return types;
}

ImageGeometryPtr makeGeometry(std::vector<BaseImageGeometry const*> const& parts, eJoinAxis axis,
                              vlUInt64 length) {
    BaseImageGeometry const& first = *parts.front();
    VolumeGeometry volume = first.getVolumeGeometry();
    TemporalGeometry temporal = first.getTemporalGeometry();
    if (axis == eJoinAxis::Z) {
        volume.init3d(length);
    } else {
        temporal.initSequence(length);
    }
    auto const types = axis == eJoinAxis::T ? collectTypes(parts) : std::vector<eImageBufferType>();
    bool const bOneType =
        std::all_of(types.begin(), types.end(), [&](auto type) { return type == types.front(); });
    if (bOneType) {
        return geometry(first.getBufferType(), first.getSizeX(), first.getSizeY(), volume,
                        first.getColorGeometry(), temporal);
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, first.getColorGeometry(), temporal, first.getSizeX(), first.getSizeY(), types);
    return pGeometry;
}

} // namespace

BoolResult JoinLayout::init(std::vector<BaseImageGeometry const*> const& parts, eJoinAxis axis) {
    LogMessageFormater formater(getVELMOImageLogMessageManager());
    if (parts.empty()) {
        return failure(formater[eImageMessage::eIM_NothingToJoin].string());
    }
    std::vector<vlUInt64> starts;
    vlUInt64 length = 0;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        auto const end = checkedAdd(length, getLength(*parts[part], axis));
        if (!end || !fits(*parts[part], *parts.front(), axis)) {
            return failure((formater[eImageMessage::eIM_PartMismatch] % part %
                            describeGeometry(*parts[part]) % describeGeometry(*parts.front()))
                               .string());
        }
        starts.push_back(length);
        length = *end;
    }
    _pGeometry = makeGeometry(parts, axis, length);
    _starts = std::move(starts);
    _axis = axis;
    return success();
}

JoinLayout::Place JoinLayout::locate(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    vlUInt64 const position = _axis == eJoinAxis::Z ? z : t;
    auto const next = std::upper_bound(_starts.begin(), _starts.end(), position);
    auto const part = static_cast<std::size_t>(next - _starts.begin()) - 1;
    vlUInt64 const inside = position - _starts[part];
    return _axis == eJoinAxis::Z ? Place{part, {inside, c, t}} : Place{part, {z, c, inside}};
}

} // namespace image
} // namespace velmo
