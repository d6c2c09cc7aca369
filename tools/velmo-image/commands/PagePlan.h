// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/PreviewInput.h"

namespace velmo::tool {

/// Evenly spaced indexes of an axis.
struct AxisPart {
    vlUInt64 first;
    vlUInt64 count;
    vlUInt64 step;
    vlUInt64 thinning = 1; ///< one of so many is left of those that were chosen
};

/// Place of a picture in a page.
struct PagePlace {
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
};

/// The pictures of a page.
class PagePlan {
  public:
    /// Throws WrongUse for an index that does not exist.
    PagePlan(image::BaseImageGeometry const& geometry, PreviewChoice const& choice);

    AxisPart const& getZ() const { return _z; }
    AxisPart const& getT() const { return _t; }
    /// @{
    /// Planes along Z and time steps that were chosen, with those that are left out.
    vlUInt64 countChosenZ() const { return _chosenZ.count; }
    vlUInt64 countChosenT() const { return _chosenT.count; }
    /// @}
    /// The channels of each picture of a plane.
    std::vector<std::vector<vlUInt64>> const& getChannels() const { return _channels; }
    vlUInt64 countPictures() const;
    /// Picture `number` in the order of the page: Z varies fastest, then the channel, then the time step.
    PagePlace getPlace(vlUInt64 number) const;
    /// The planes of a picture.
    PlaneRun getRun(PagePlace const& place) const;
    bool isThinned() const { return _z.thinning > 1 || _t.thinning > 1; }
    /// Leaves out planes of the axis with more of them. False if one picture of each channel is left.
    bool thin();

  private:
    AxisPart const _chosenZ;
    AxisPart const _chosenT;
    AxisPart _z;
    AxisPart _t;
    std::vector<std::vector<vlUInt64>> _channels;
    PlaneRun _run;
};

} // namespace velmo::tool
