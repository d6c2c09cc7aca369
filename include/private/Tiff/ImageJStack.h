// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>

using TIFF = struct tiff;

namespace velmo {
namespace image {
namespace file {

struct PlanRun;

// A stack as ImageJ writes it: the description of its only directory announces more planes, which follow the
// first one in the file without gap.

/// The number of planes that the current directory's description announces; `NumericLimits<vlUInt64>::s_max`
/// where it announces none. Throws what `std::stoi` throws for a number that is none.
vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff);

/// Whether the number of planes is the announced one and not that of the directories.
bool isImageJStack(vlUInt64 nbAnnounced, unsigned int nbDirectories);

/// Reads a whole plane as it lies in the file, which is opened anew for it. What lies behind the end of the
/// file is zero. A file that cannot be opened is thrown as `boost::io::too_few_args`.
BoolResult readImageJPlan(TIFF* pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          PlanRun const& run, void* pPixels);

} // namespace file
} // namespace image
} // namespace velmo
