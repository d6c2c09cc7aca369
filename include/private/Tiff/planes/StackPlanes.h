// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>
#include <vector>

namespace velmo::image::file {

struct PlaneContext;

// Planes of a stack as ImageJ writes it.

/// Reads a whole plane as it lies in the file, which is opened anew for it. What lies behind the end of the
/// file is zero and logged as a warning. A file that cannot be opened is thrown as `boost::io::too_few_args`.
BoolResult readStoredPlane(PlaneContext const& context, void* pPixels);

/// A channel of a run and its place in memory.
struct StackChannel {
    vlUInt64 index;
    void* pPixels;
};

/// Reads channels of a run of a plane, in the byte order of this machine.
BoolResult readStackRun(PlaneContext const& context, std::vector<StackChannel> const& channels);

} // namespace velmo::image::file
