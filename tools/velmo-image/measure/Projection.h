// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/PixelReader.h"
#include "measure/Projector.h"

namespace velmo::tool {

enum class eProjectionAxis { Z, C, T };

/// Projects an image along an axis, in one pass, to an image in memory without calibration and user
/// properties. Along Z it is a plane, along C it is grey, along T it has a single time step. The result does
/// not depend on the number of threads.
///
/// Throws WorkFailure where the image cannot be read or has no pixels, where it has several pixel types,
/// where there is no memory for the result, for mean and sum of labels and for sums out of range;
/// Interrupted.
image::ImagePtr projectImage(PixelReader const& reader, eProjectionAxis axis, eProjection projection,
                             vlUInt64 nbThreads);

} // namespace velmo::tool
