// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BoolResult.h>
#include <cstddef>

namespace velmo::image::file {

struct PlaneContext;

/// Reads the context's run from rows of packed bits of the current directory, as one byte of 0 or 1 for each
/// pixel.
BoolResult readPackedRows(PlaneContext const& context, std::byte* pPixels);

} // namespace velmo::image::file
