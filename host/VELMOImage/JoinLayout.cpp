// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinLayout.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace velmo::image {

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
    return bSamePlane && part.getBufferType() == first.getBufferType();
}

/// What a part must be, whatever the others are.
BoolResult requireJoinable(std::size_t index, BaseImageGeometry const& part, eJoinAxis axis) {
    if (axis == eJoinAxis::Z && part.getSizeT() != 1) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_PartTimeSteps, index, describeGeometry(part),
                           part.getSizeT());
    }
    if (auto const plane = findPlaneOfOtherType(part)) {
        auto const& types = dynamic_cast<HeterogeneousImageGeometry const&>(part).getBufferTypeRuns();
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_PartNotUniform, index,
                           describeGeometry(part), *plane, types.getType(*plane));
    }
    return success();
}

/// What must be countable of a whole.
struct Extent {
    vlUInt64 length = 0;
    vlUInt64 nbPlans = 0;
    vlUInt64 nbPixels = 0;
    vlUInt64 nbBytes = 0;

    /// False where a sum passes 64 bits.
    bool add(BaseImageGeometry const& part, eJoinAxis axis) {
        auto const increase = [](vlUInt64& sum, vlUInt64 more) {
            auto const result = checkedAdd(sum, more);
            sum = result.value_or(0);
            return result.has_value();
        };
        return increase(length, getLength(part, axis)) && increase(nbPlans, part.getNbPlans()) &&
               increase(nbPixels, part.getNbPixels()) && increase(nbBytes, part.getFullMemorySize());
    }
};

using Geometries = std::vector<BaseImageGeometry const*>;

/// Of each time step of the whole.
BufferTypeRuns collectTypes(Geometries const& parts) {
    BufferTypeRuns types;
    for (BaseImageGeometry const* const pPart : parts) {
        vlUInt64 const nbSteps = pPart->getSizeT();
        auto const* const pTypes =
            nbSteps == 1 ? nullptr : dynamic_cast<HeterogeneousImageGeometry const*>(pPart);
        if (pTypes != nullptr) {
            types.add(pTypes->getBufferTypeRuns());
        } else { // the planes of one step have one type
            types.add(pPart->getBufferType(), nbSteps);
        }
    }
    return types;
}

ImageGeometryPtr makeGeometry(Geometries const& parts, eJoinAxis axis, vlUInt64 length) {
    BaseImageGeometry const& first = *parts.front();
    VolumeGeometry volume = first.getVolumeGeometry();
    TemporalGeometry temporal = first.getTemporalGeometry();
    BufferTypeRuns types;
    if (axis == eJoinAxis::Z) {
        volume.init3d(length);
    } else {
        temporal.initSequence(length);
        types = collectTypes(parts);
    }
    if (types.isUniform()) {
        return geometry(first.getBufferType(), first.getSizeX(), first.getSizeY(), volume,
                        first.getColorGeometry(), temporal);
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, first.getColorGeometry(), temporal, first.getSizeX(), first.getSizeY(), types);
    return pGeometry;
}

} // namespace

BoolResult JoinLayout::init(std::vector<BaseImageGeometry const*> const& parts, eJoinAxis axis) {
    if (parts.empty()) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_NothingToJoin);
    }
    std::vector<vlUInt64> starts;
    Extent whole;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        BoolResult joinable = requireJoinable(part, *parts[part], axis);
        if (!joinable) {
            return joinable;
        }
        starts.push_back(whole.length);
        if (!fits(*parts[part], *parts.front(), axis) || !whole.add(*parts[part], axis)) {
            return failMessage(g_velmoImageRaise, eImageMessage::eIM_PartMismatch, part,
                               describeGeometry(*parts[part]), describeGeometry(*parts.front()));
        }
    }
    _pGeometry = makeGeometry(parts, axis, whole.length);
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

} // namespace velmo::image
