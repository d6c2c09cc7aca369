// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinLayout.h"

#include "VELMOImage/PixelMemory.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/CheckedArithmetic.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <functional>

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

using Geometries = std::vector<BaseImageGeometry const*>;
using Types = std::vector<eImageBufferType>;

bool haveOneType(Geometries const& parts) {
    return std::all_of(parts.begin(), parts.end(), [&](BaseImageGeometry const* pPart) {
        return dynamic_cast<HeterogeneousImageGeometry const*>(pPart) == nullptr &&
               pPart->getBufferType() == parts.front()->getBufferType();
    });
}

/// Of each time step. What a record says of their number is not believed beyond the memory at hand.
BoolResult collectTypes(Geometries const& parts, vlUInt64 nbTimeSteps, Types& types) {
    constexpr vlUInt64 bytesPerStep =
        3 * sizeof(eImageBufferType); // here, in the geometry, and its running sum
    BoolResult result =
        requireMemory(checkedMultiply(nbTimeSteps, bytesPerStep).value_or(NumericLimits<vlUInt64>::s_max));
    if (!result) {
        return result;
    }
    for (BaseImageGeometry const* const pPart : parts) {
        for (vlUInt64 t = 0; t < pPart->getSizeT(); ++t) {
            types.push_back(pPart->getPlanGeometry(t).getBufferType());
        }
    }
    return result;
}

BoolResult makeGeometry(Geometries const& parts, eJoinAxis axis, vlUInt64 length, ImageGeometryPtr& pWhole) {
    BaseImageGeometry const& first = *parts.front();
    VolumeGeometry volume = first.getVolumeGeometry();
    TemporalGeometry temporal = first.getTemporalGeometry();
    if (axis == eJoinAxis::Z) {
        volume.init3d(length);
    } else {
        temporal.initSequence(length);
    }
    Types types;
    if (axis == eJoinAxis::T && !haveOneType(parts)) {
        BoolResult result = collectTypes(parts, length, types);
        if (!result) {
            return result;
        }
    }
    if (std::adjacent_find(types.begin(), types.end(), std::not_equal_to<>()) == types.end()) {
        pWhole = geometry(first.getBufferType(), first.getSizeX(), first.getSizeY(), volume,
                          first.getColorGeometry(), temporal);
        return success();
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, first.getColorGeometry(), temporal, first.getSizeX(), first.getSizeY(), types);
    pWhole = pGeometry;
    return success();
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
    BoolResult result = makeGeometry(parts, axis, length, _pGeometry);
    if (result) {
        _starts = std::move(starts);
        _axis = axis;
    }
    return result;
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
