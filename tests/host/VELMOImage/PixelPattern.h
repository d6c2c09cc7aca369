// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstddef>
#include <vector>

namespace velmo::test {

using Bytes = std::vector<std::byte>;

/// Bytes that differ from plane to plane and from row to row; `seed` gives another pattern.
Bytes makePattern(vlUInt64 nbBytes, vlUInt64 seed = 0);

/// Bytes of one plane and of all planes, from the sizes alone.
vlUInt64 countPlaneBytes(image::BaseImageGeometry const& geometry, vlUInt64 t);
vlUInt64 countBytes(image::BaseImageGeometry const& geometry);
/// Bytes before a plane where the planes lie in (t, c, z) order, counted plane by plane.
vlUInt64 countBytesBefore(image::BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t);

/// All planes in (t, c, z) order, through writePixels and readPixels; a failure is thrown.
void writeAll(image::BaseImage& image, Bytes const& bytes);
Bytes readAll(image::BaseImage const& image);

} // namespace velmo::test
