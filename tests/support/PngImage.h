// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <vector>

namespace velmo::test {

/// A PNG file with 8 bits a channel, as libpng reads it, without any conversion.
struct PngImage {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int nbChannels = 0;
    std::vector<int> pixels; ///< rows from the top, channels side by side
};

/// A failed test, and an empty image, where the file is not of that kind.
PngImage readPng(boost::filesystem::path const& path);

} // namespace velmo::test
