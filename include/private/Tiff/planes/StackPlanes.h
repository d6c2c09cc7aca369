// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/planes/ChannelSamples.h"

#include <VELMOUtil/BoolResult.h>

namespace velmo::image::file {

struct PlaneContext;

// Planes of a single-directory ImageJ stack.

/// Reads a whole plane without conversion, through a second stream on the file. Pixels beyond the end of the
/// file are zero, which is logged as a warning. If the file cannot be opened again, throws
/// `boost::io::too_few_args`.
BoolResult readStoredPlane(PlaneContext const& context, void* pPixels);

/// Reads channels of a run of a plane, converted to the byte order of this machine.
BoolResult readStackRun(PlaneContext const& context, TargetPlanes const& channels);

} // namespace velmo::image::file
