// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "picture/Bitmap.h"

#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// Writes a PNG file. Throws WorkFailure.
void writePng(boost::filesystem::path const& path, Bitmap const& bitmap);

/// The bytes of a PNG file. Throws WorkFailure.
std::vector<unsigned char> encodePng(Bitmap const& bitmap);

} // namespace velmo::tool
