// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <boost/filesystem/path.hpp>
#include <vector>

namespace velmo::importer {

/// How the first directory of a TIFF file says that its pixels are shown.
struct DisplayTags {
    /// Value of the tag Orientation, 1 to 8; 1 (top left) if it is missing or has another value.
    unsigned int orientation = 1;
    /// Red, green and blue of each index of a palette; empty if the pixels are not indexes of a palette.
    std::vector<std::array<unsigned char, 3>> palette;
};

/// Reads the first directory. A file that cannot be read has the default values. Thread-safe.
DisplayTags readDisplayTags(boost::filesystem::path const& path);

} // namespace velmo::importer
