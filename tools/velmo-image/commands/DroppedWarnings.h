// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputImage.h"

#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// The warning that lists what a copy of TIFF files lacks, such as their ICC profile, once for all files;
/// empty if they have nothing of the kind. A raw copy is expected to have pixels only: for it only parts
/// without which the pixels mean something else are listed. An interrupt ends the process at once.
std::vector<std::string> findDroppedWarnings(std::vector<boost::filesystem::path> const& files,
                                             bool bTiffOutput);

/// Prints the warnings about an input of which a copy is written: `findWarnings`, axes that are ignored, and
/// what the copy lacks.
void warnOfCopy(std::string const& file, InputImage const& input, bool bTiffOutput);

} // namespace velmo::tool
