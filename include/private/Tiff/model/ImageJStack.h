// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <optional>

using TIFF = struct tiff;

namespace velmo::image::file {

// A stack as ImageJ writes it: the description of its only directory announces more planes, which follow the
// first one in the file without gap.

/// The number of planes that the current directory's description announces; `NumericLimits<vlUInt64>::s_max`
/// where it announces none. Throws what `std::stoi` throws for a number that is none.
vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff);

/// Whether the planes of a file are those of a stack, its handle standing on any directory.
bool isImageJStack(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy);

/// How many whole planes of the current directory's size the file holds from its first strip on; empty where
/// the directory stores pixels in a way that does not tell where further planes lie.
std::optional<vlUInt64> countStackPlanes(TIFF* pTiff);

} // namespace velmo::image::file
