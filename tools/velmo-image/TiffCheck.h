// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <string>
#include <vector>

namespace velmo {
namespace tool {

/// Where a TIFF file, opened as this image, does not hold what it announces, or holds it in a way that the
/// pixels read from it are not what they are meant to be. A sentence each.
std::vector<std::string> findTiffWarnings(image::DiskImage const& image);

} // namespace tool
} // namespace velmo
