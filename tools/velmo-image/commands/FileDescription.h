// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// What `info` tells of one file.
struct FileDescription {
    std::string file;
    std::string format;
    image::ImageConstPtr pImage; ///< null where the file cannot be opened
    std::vector<std::string> warnings;
    std::string error; ///< why it cannot be opened or what in it cannot be read; empty otherwise
};

/// All keys in every case; null where a file that cannot be opened has no answer.
nlohmann::ordered_json toJson(FileDescription const& description);
/// A block of lines for readers.
std::string toText(FileDescription const& description);

} // namespace velmo::tool
