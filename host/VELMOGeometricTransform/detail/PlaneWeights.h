// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ResampleAttributes.h"

#include <array>
#include <vector>

namespace velmo::imaproc::gtrans {

/// How one plane of the result comes about: plane `base`, and the differences of further planes from it times
/// their weights.
struct PlaneWeights {
    /// A further plane.
    struct Term {
        /// @{
        /// Its index, counted from 0, and its weight.
        vlUInt64 plane;
        double weight;
        /// @}
    };
    /// @{
    /// The plane that differences are taken from, and the terms, of which the first `nbTerms` count.
    vlUInt64 base = 0;
    std::array<Term, 3> terms{};
    /// @}
    unsigned int nbTerms = 0; ///< 0 where the plane is `base` itself
};

/// Planes at the running sums of steps, and planes of a result that lie evenly from the first to the last.
class PlanePositions {
  public:
    /// Every step must be positive and finite.
    explicit PlanePositions(std::vector<float> const& steps);

    /// Plane `index` of `nbPlanes`; with one plane that is the first one's position.
    PlaneWeights weigh(vlUInt64 index, vlUInt64 nbPlanes, attr::eInterpolationPolicy policy) const;

  private:
    double step(vlUInt64 plane) const { return static_cast<double>(_steps[plane]); }
    PlaneWeights weighCubic(vlUInt64 plane, double fraction) const;

    std::vector<float> _steps;
    std::vector<double> _positions;
};

} // namespace velmo::imaproc::gtrans
