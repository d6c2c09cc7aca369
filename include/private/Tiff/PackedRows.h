// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BoolResult.h>
#include <cstddef>

namespace velmo {
namespace image {
namespace file {

struct PlanContext;

/// Reads the context's run from rows of packed bits of the current directory, as one byte of 0 or 1 for each
/// pixel.
BoolResult readPackedRows(PlanContext const& context, std::byte* pPixels);

} // namespace file
} // namespace image
} // namespace velmo
