// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputImage.h"

namespace velmo::tool {

/// What is unusual about a file, one sentence each: bytes after the last plane, a file that is too short,
/// pixels that are stored in a way that reading does not follow, and an inverted scale.
std::vector<std::string> findWarnings(InputImage const& input);
/// The warning about tiles alone, which does not need `--check`; empty for a file without tiles.
std::vector<std::string> findTileWarnings(InputImage const& input);
/// The warning about an image whose minimum is white; empty for any other image.
std::vector<std::string> findNegativeWarnings(image::BaseImage const& image);

} // namespace velmo::tool
