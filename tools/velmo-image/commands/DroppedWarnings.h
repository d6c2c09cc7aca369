// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// The warning that lists what a copy of TIFF files lacks, such as their ICC profile, once for all files;
/// empty if they have nothing of the kind. A raw copy is expected to have pixels only: for it only parts
/// without which the pixels mean something else are listed. An interrupt ends the process at once.
std::vector<std::string> findDroppedWarnings(std::vector<boost::filesystem::path> const& files,
                                             bool bTiffOutput);

} // namespace velmo::tool
