// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// An Im6 file, open for reading. Failures have the library's words.
image::DiskImagePtr openIm6Input(boost::filesystem::path const& path);

/// What the file holds otherwise than its header says, a sentence each.
std::vector<std::string> findIm6Warnings(image::DiskImage const& image);

} // namespace velmo::tool
