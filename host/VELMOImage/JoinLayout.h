// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/BoolResult.h"

#include <vector>

namespace velmo::image {

/// The axis along which images are joined.
enum class eJoinAxis { Z, T };

/// Maps the planes of a joined image to its parts.
class VELMO_HOST_EXPORT JoinLayout {
  public:
    /// A plane of a part.
    struct Place {
        /// @{
        /// Index of the part (from 0), and the plane in it.
        std::size_t part;
        PlanIndexes plan;
        /// @}
    };

    /// Parts must have the same sizes except along the axis, the same colour type and, along Z, the same
    /// pixel type and a single time step. All planes of a time step must have one pixel type. A failure names
    /// the part (from 0) that does not fit, or with which the size overflows 64 bits, and changes nothing.
    BoolResult init(std::vector<BaseImageGeometry const*> const& parts, eJoinAxis axis);

    /// Geometry of the joined image: that of the first part with the sum of the sizes along the axis. Along T
    /// each time step keeps its pixel type.
    BaseImageGeometry const& getGeometry() const { return *_pGeometry; }
    /// The place of a plane of the joined image, in logarithmic time.
    Place locate(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

  private:
    eJoinAxis _axis = eJoinAxis::Z;
    std::vector<vlUInt64> _starts; ///< along the axis, of each part
    ImageGeometryPtr _pGeometry;
};

} // namespace velmo::image
