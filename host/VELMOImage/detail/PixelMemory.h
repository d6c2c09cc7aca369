// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Types.h"

#include <cstddef>
#include <memory>

namespace velmo::image {

/// Fails if the available memory is too small; the message has both sizes.
BoolResult requireMemory(vlUInt64 nbBytes);

/// Allocates zeroed memory for pixels. Fails if it is more than the available memory, or if the system
/// refuses it; `pPixels` is then unchanged.
BoolResult allocatePixels(vlUInt64 nbBytes, std::shared_ptr<std::byte>& pPixels);

} // namespace velmo::image
