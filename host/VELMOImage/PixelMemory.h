// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/PageBuffer.h"

namespace velmo {
namespace image {

/// Zeroed room for pixels, or the reason why there is none: more bytes than the memory at hand, or an
/// allocation that the system refuses. `buffer` is replaced on success alone.
BoolResult allocatePixels(vlUInt64 nbBytes, PageBuffer& buffer);

} // namespace image
} // namespace velmo
