// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <string>
#include <vector>

namespace velmo::tool {

/// What `info` shows of one file.
struct FileDescription {
    std::string file;
    std::string format;
    image::ImageConstPtr pImage; ///< null where the file cannot be opened
    std::vector<std::string> warnings;
    std::string error; ///< why it cannot be opened or what in it cannot be read; empty otherwise
};

/// A document with one entry for each file. An entry always has all keys; a file that cannot be opened has
/// null values.
std::string toJson(std::vector<FileDescription> const& descriptions);
/// Several lines for readers.
std::string toText(FileDescription const& description);

} // namespace velmo::tool
