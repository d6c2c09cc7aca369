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

// A stack as ImageJ writes it: the description of its only directory announces more planes, which follow the
// first one in the file without gap.

/// The number of planes that the current directory's description announces; `NumericLimits<vlUInt64>::s_max`
/// where it announces none. Throws what `std::stoi` throws for a number that is none.
vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff);

/// Larger numbers were negative in the description.
constexpr vlUInt64 g_largestAnnouncement = NumericLimits<int>::s_max;

/// Where the planes are that a description announces beyond the directories.
struct FurtherPlanes {
    std::optional<vlUInt64> nbStacked; ///< planes from the first one on; empty where they cannot be located
    vlUInt64 nbHeld;                   ///< planes of the file: these, or else the directories
};
/// Empty where the directories are the planes: none is announced beyond them, the number cannot be used, or
/// the chain of directories breaks off, whose first one is then not that of a stack.
std::optional<FurtherPlanes> findFurtherPlanes(TIFF* pTiff, vlUInt64 nbAnnounced,
                                               TiffDirectories const& directories);

/// Whether the planes of a file are those of a stack, its handle standing on any directory.
bool isImageJStack(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy);

/// How many whole planes of the current directory's size the file holds from its first strip on; empty where
/// the directory stores pixels in a way that does not tell where further planes lie.
std::optional<vlUInt64> countStackPlanes(TIFF* pTiff);

} // namespace velmo::image::file
