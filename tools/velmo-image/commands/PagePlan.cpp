// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PagePlan.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImage/ImageGeometry.h>

namespace velmo::tool {

namespace {

AxisPart chooseZ(PlaneRun const& run) {
    return run.projection ? AxisPart{0, 1, 1} : AxisPart{run.firstZ, run.nbZ, run.step};
}

AxisPart chooseT(image::BaseImageGeometry const& geometry, PreviewChoice const& choice) {
    return choice.t ? AxisPart{*choice.t, 1, 1} : AxisPart{0, geometry.getSizeT(), 1};
}

/// A picture of the channels shown together, or one for each channel.
std::vector<std::vector<vlUInt64>> chooseChannels(image::BaseImageGeometry const& geometry,
                                                  PreviewChoice const& choice, PlaneRun const& run) {
    if (choice.c || run.channels.size() > 1) {
        return {run.channels};
    }
    constexpr vlUInt64 mostChannels = 256;
    if (geometry.getSizeC() > mostChannels) {
        throw WrongUse("a page shows at most " + std::to_string(mostChannels) + " channels, not " +
                       std::to_string(geometry.getSizeC()) + "; --c chooses one");
    }
    std::vector<std::vector<vlUInt64>> channels;
    for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
        channels.push_back({c});
    }
    return channels;
}

/// An eighth fewer, at least by one.
AxisPart leaveOut(AxisPart const& chosen, AxisPart const& left) {
    constexpr vlUInt64 share = 8;
    vlUInt64 const target = left.count - std::max<vlUInt64>(1, left.count / share);
    vlUInt64 const thinning = divideUp(chosen.count, target);
    return {chosen.first, divideUp(chosen.count, thinning), chosen.step * thinning, thinning};
}

} // namespace

PagePlan::PagePlan(image::BaseImageGeometry const& geometry, PreviewChoice const& choice)
    : _chosenZ(chooseZ(selectRun(geometry, choice))), _chosenT(chooseT(geometry, choice)), _z(_chosenZ),
      _t(_chosenT), _channels(chooseChannels(geometry, choice, selectRun(geometry, choice))),
      _run(selectRun(geometry, choice)) {}

vlUInt64 PagePlan::countPictures() const {
    return _z.count * _channels.size() * _t.count;
}

PagePlace PagePlan::getPlace(vlUInt64 number) const {
    return {number % _z.count, number / _z.count % _channels.size(), number / _z.count / _channels.size()};
}

PlaneRun PagePlan::getRun(PagePlace const& place) const {
    PlaneRun run = _run;
    if (!run.projection) {
        run.firstZ = _z.first + place.z * _z.step;
        run.nbZ = 1;
    }
    run.channels = _channels[place.c];
    run.t = _t.first + place.t * _t.step;
    return run;
}

bool PagePlan::thin() {
    bool const bZ = _z.count >= _t.count;
    if ((bZ ? _z : _t).count == 1) {
        return false;
    }
    (bZ ? _z : _t) = bZ ? leaveOut(_chosenZ, _z) : leaveOut(_chosenT, _t);
    return true;
}

} // namespace velmo::tool
