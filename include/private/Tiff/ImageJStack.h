// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <optional>
#include <vector>

using TIFF = struct tiff;

namespace velmo {
namespace image {
namespace file {

struct PlanContext;

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

/// Reads a whole plane as it lies in the file, which is opened anew for it. What lies behind the end of the
/// file is zero and logged as a warning. A file that cannot be opened is thrown as `boost::io::too_few_args`.
BoolResult readStoredPlan(PlanContext const& context, void* pPixels);

/// A channel of a run and its place in memory.
struct StackChannel {
    vlUInt64 index;
    void* pPixels;
};

/// Reads channels of a run of a plane, in the byte order of this machine.
BoolResult readStackRun(PlanContext const& context, std::vector<StackChannel> const& channels);

} // namespace file
} // namespace image
} // namespace velmo
