// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <optional>

using TIFF = struct tiff;

namespace velmo::image::file {

// A single-directory ImageJ stack: the description of the only directory announces more planes, which follow
// the first one in the file without gaps.

/// Number of planes that the current directory's description announces; `NumericLimits<vlUInt64>::s_max` if
/// it announces none. Throws what `std::stoi` throws if the number is invalid.
vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff);

/// Whether the planes of a file are those of a stack. The handle may have any current directory.
bool isImageJStack(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy);

/// Number of whole planes of the current directory's size that the file contains from its first strip on;
/// empty if further planes cannot be located, because the directory is compressed, tiled, packed in bits or
/// has strips with gaps.
std::optional<vlUInt64> countStackPlanes(TIFF* pTiff);

} // namespace velmo::image::file
