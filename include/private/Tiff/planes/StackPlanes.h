// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/planes/ChannelSamples.h"

#include <VELMOUtil/BoolResult.h>

namespace velmo::image::file {

struct PlaneContext;

// Planes of a stack as ImageJ writes it.

/// Reads a whole plane as it lies in the file, which is opened anew for it. What lies behind the end of the
/// file is zero and logged as a warning. A file that cannot be opened is thrown as `boost::io::too_few_args`.
BoolResult readStoredPlane(PlaneContext const& context, void* pPixels);

/// Reads channels of a run of a plane, in the byte order of this machine.
BoolResult readStackRun(PlaneContext const& context, TargetPlanes const& channels);

} // namespace velmo::image::file
