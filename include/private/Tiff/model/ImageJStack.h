// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <optional>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffDirectories;

// A single-directory ImageJ stack: the description of the only directory announces more planes, which follow
// the first one in the file without gaps.

/// Number of planes that the current directory's description announces; `NumericLimits<vlUInt64>::s_max` if
/// it announces none. Throws what `std::stoi` throws if the number is invalid.
vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff);

/// Larger numbers result from negative numbers in the description.
constexpr vlUInt64 g_largestAnnouncement = NumericLimits<int>::s_max;

/// The planes that a description announces in addition to the directories.
struct FurtherPlanes {
    std::optional<vlUInt64> nbStacked; ///< planes from the first one on; empty if they cannot be located
    vlUInt64 nbHeld; ///< planes of the file: `nbStacked`, otherwise the number of directories
};
/// Empty if the directories are the planes: no further plane is announced, the number is invalid, or the
/// chain of directories is broken, so that the file is not a single-directory stack.
std::optional<FurtherPlanes> findFurtherPlanes(TIFF* pTiff, vlUInt64 nbAnnounced,
                                               TiffDirectories const& directories);

/// Whether the planes of a file are those of a stack. The handle may have any current directory.
bool isImageJStack(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy);

/// Number of whole planes of the current directory's size that the file contains from its first strip on;
/// empty if further planes cannot be located, because the directory is compressed, tiled, packed in bits or
/// has strips with gaps.
std::optional<vlUInt64> countStackPlanes(TIFF* pTiff);

} // namespace velmo::image::file
