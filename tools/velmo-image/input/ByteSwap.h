// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// Reverses the bytes of each of the values, which take `valueSize` bytes each.
void swapBytes(void* values, vlUInt64 nbValues, unsigned int valueSize);

} // namespace velmo::tool
