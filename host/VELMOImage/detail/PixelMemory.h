// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/PageBuffer.h"

namespace velmo::image {

/// Whether the memory at hand is large enough; the message has both figures.
BoolResult requireMemory(vlUInt64 nbBytes);

/// Zeroed room for pixels, or the reason why there is none: more bytes than the memory at hand, or an
/// allocation that the system refuses. `buffer` is replaced on success alone.
BoolResult allocatePixels(vlUInt64 nbBytes, PageBuffer& buffer);

} // namespace velmo::image
