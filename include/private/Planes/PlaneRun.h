// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo::image::file {

/// Consecutive pixels of one plane.
struct PlaneRun {
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    vlUInt64 pixelStart;
    vlUInt64 nbPixels;
};

} // namespace velmo::image::file
