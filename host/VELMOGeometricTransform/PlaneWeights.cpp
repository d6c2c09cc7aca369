// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/detail/PlaneWeights.h"

#include <algorithm>

namespace velmo::imaproc::gtrans {

namespace {

/// Parts of a step that sums of steps may be wrong by.
constexpr double g_tolerance = 1e-9;

} // namespace

PlanePositions::PlanePositions(std::vector<float> const& steps) : _steps(steps), _positions(1, 0.0) {
    for (float const step : steps) {
        _positions.push_back(_positions.back() + static_cast<double>(step));
    }
}

PlaneWeights PlanePositions::weigh(vlUInt64 index, vlUInt64 nbPlanes,
                                   attr::eInterpolationPolicy policy) const {
    vlUInt64 const last = _positions.size() - 1;
    if (nbPlanes > 1 && index + 1 == nbPlanes) { // the quotient below may fall short of it
        PlaneWeights weights;
        weights.base = last;
        return weights;
    }
    double const position =
        nbPlanes < 2 ? 0.0
                     : _positions[last] * static_cast<double>(index) / static_cast<double>(nbPlanes - 1);
    auto const next = std::upper_bound(_positions.begin(), _positions.end(), position);
    auto plane = static_cast<vlUInt64>(next - _positions.begin()) - 1;
    PlaneWeights weights;
    weights.base = plane;
    if (plane == last) {
        return weights;
    }
    double const fraction = (position - _positions[plane]) / (_positions[plane + 1] - _positions[plane]);
    bool const bNearest = policy == attr::eIP_Nearest;
    if (fraction > 1 - g_tolerance || (bNearest && fraction > 0.5)) {
        weights.base = plane + 1;
    } else if (!bNearest && fraction >= g_tolerance) {
        if (policy == attr::eIP_Cubic) {
            return weighCubic(plane, fraction);
        }
        weights.terms[0] = {plane + 1, fraction};
        weights.nbTerms = 1;
    }
    return weights;
}

// The curve between two planes has the value of each and, at each, the slope of the parabola through it and
// its neighbours; at the first and the last plane the slope of the line to the only neighbour.
PlaneWeights PlanePositions::weighCubic(vlUInt64 plane, double fraction) const {
    double const u = fraction;
    double const h = step(plane);
    double const slopeHere = u * (1 - u) * (1 - u) * h;
    double const valueNext = u * u * (3 - 2 * u);
    double const slopeNext = u * u * (u - 1) * h;
    bool const bFirst = plane == 0;
    bool const bLast = plane + 2 == _positions.size();

    double const before = bFirst ? 0 : step(plane - 1);
    double const behind = bLast ? 0 : step(plane + 1);
    double const hereBack = bFirst ? 0 : h / (before * (before + h));
    double const hereAhead = bFirst ? 1 / h : before / (h * (before + h));
    double const nextBack = bLast ? 1 / h : behind / (h * (h + behind));
    double const nextAhead = bLast ? 0 : h / (behind * (h + behind));

    PlaneWeights weights;
    weights.base = plane;
    auto const add = [&](vlUInt64 other, double weight) {
        weights.terms[weights.nbTerms++] = {other, weight};
    };
    add(plane + 1, slopeHere * hereAhead + valueNext + slopeNext * (nextBack - nextAhead));
    if (!bFirst) {
        add(plane - 1, -slopeHere * hereBack);
    }
    if (!bLast) {
        add(plane + 2, slopeNext * nextAhead);
    }
    return weights;
}

} // namespace velmo::imaproc::gtrans
