// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ResampleAttributes.h"

#include <array>
#include <vector>

namespace velmo::imaproc::gtrans {

/// How one plane of the result is calculated: plane `base` plus the weighted differences of other planes from
/// it.
struct PlaneWeights {
    /// Another plane.
    struct Term {
        /// @{
        /// Its index (from 0) and its weight.
        vlUInt64 plane;
        double weight;
        /// @}
    };
    /// @{
    /// Index of the base plane, and the terms, of which the first `nbTerms` are used.
    vlUInt64 base = 0;
    std::array<Term, 3> terms{};
    /// @}
    unsigned int nbTerms = 0; ///< 0 where the plane is `base` itself
};

/// Weights of source planes at the cumulative sums of steps, for evenly spaced planes from the first to the
/// last position.
class PlanePositions {
  public:
    /// Every step must be positive and finite.
    explicit PlanePositions(std::vector<float> const& steps);

    /// Weights of plane `index` of `nbPlanes`. A single plane is at the position of the first one.
    PlaneWeights weigh(vlUInt64 index, vlUInt64 nbPlanes, attr::eInterpolationPolicy policy) const;

  private:
    double step(vlUInt64 plane) const { return static_cast<double>(_steps[plane]); }
    PlaneWeights weighCubic(vlUInt64 plane, double fraction) const;

    std::vector<float> _steps;
    std::vector<double> _positions;
};

} // namespace velmo::imaproc::gtrans
