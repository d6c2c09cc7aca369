// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo {
namespace image {
namespace file {

/// A run of pixels of one plane.
struct PlanRun {
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    vlUInt64 pixelStart;
    vlUInt64 nbPixels;
};

} // namespace file
} // namespace image
} // namespace velmo
