// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BoolResult.h>
#include <cstddef>

namespace velmo::image::file {

struct PlaneContext;

/// Reads the context's run from rows of 1-bit samples of the current directory. Each pixel is returned as one
/// byte of 0 or 1.
BoolResult readPackedRows(PlaneContext const& context, std::byte* pPixels);

} // namespace velmo::image::file
