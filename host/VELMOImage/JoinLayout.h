// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/BoolResult.h"

#include <vector>

namespace velmo::image {

/// Along Z planes follow planes, along T time steps follow time steps.
enum class eJoinAxis { Z, T };

/// Which part of several that are joined along one axis holds a plane.
class VELMO_HOST_EXPORT JoinLayout {
  public:
    /// A plane within a part.
    struct Place {
        /// @{
        /// The part, counted from 0, and the plane within it.
        std::size_t part;
        PlanIndexes plan;
        /// @}
    };

    /// Parts must have the same sizes but for the axis, the same colours and, along Z, one pixel type and one
    /// time step. The planes of a time step must have one pixel type. A failure names the part (from 0) that
    /// does not fit, or with which the whole passes 64 bits, and changes nothing.
    BoolResult init(std::vector<BaseImageGeometry const*> const& parts, eJoinAxis axis);

    /// Of the whole: the first part's, with the sum of the sizes along the axis. Along T each time step keeps
    /// its pixel type.
    BaseImageGeometry const& getGeometry() const { return *_pGeometry; }
    /// Where a plane of the whole lies, in time logarithmic to the number of parts.
    Place locate(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

  private:
    eJoinAxis _axis = eJoinAxis::Z;
    std::vector<vlUInt64> _starts; ///< along the axis, of each part
    ImageGeometryPtr _pGeometry;
};

} // namespace velmo::image
