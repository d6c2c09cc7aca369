// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/PixelRuns.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>

namespace velmo::tool {

namespace {

/// So few that a run stays in the cache of a processor while it is worked on.
constexpr vlUInt64 g_runPixels = vlUInt64{1} << 18;

} // namespace

PixelRun RunLayout::getRun(image::PlanIndexes const& plane, vlUInt64 index) const {
    vlUInt64 const start = index * nbRunPixels;
    return {plane, nbChannels, start, std::min(nbRunPixels, nbPlanePixels - start)};
}

vlUInt64 RunLayout::countRuns(image::BaseImageGeometry const& geometry) const {
    return geometry.getNbPlans() / nbChannels * nbRunsPerPlane;
}

PixelRun RunLayout::getRun(image::BaseImageGeometry const& geometry, vlUInt64 number) const {
    vlUInt64 const plane = number / nbRunsPerPlane;
    vlUInt64 const sizeZ = geometry.getSizeZ();
    vlUInt64 const sizeC = geometry.getSizeC() / nbChannels;
    return getRun({plane % sizeZ, plane / sizeZ % sizeC, plane / sizeZ / sizeC}, number % nbRunsPerPlane);
}

RunLayout layOutRuns(image::BaseImageGeometry const& geometry, bool bWholePlanes, bool bAllChannels) {
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    vlUInt64 const nbRunPixels =
        std::max<vlUInt64>(bWholePlanes ? nbPixels : std::min(nbPixels, g_runPixels), 1);
    return {bAllChannels ? geometry.getSizeC() : 1, nbPixels, nbRunPixels, divideUp(nbPixels, nbRunPixels)};
}

} // namespace velmo::tool
