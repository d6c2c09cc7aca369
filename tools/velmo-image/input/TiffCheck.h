// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <string>
#include <vector>

namespace velmo::tool {

/// In what ways the pixels of a TIFF file, opened as this image, are stored that reading does not follow:
/// tiles, and rows that are not to be shown from the top left. A sentence each.
std::vector<std::string> findTiffWarnings(image::DiskImage const& image);

} // namespace velmo::tool
