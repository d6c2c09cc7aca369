// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <vector>

namespace velmo::tool {

/// Pixels of 8 bits: rows from the top, with one channel grey, with three RGB, side by side.
struct Bitmap {
    /// The channels of a pixel.
    unsigned char* at(vlUInt64 x, vlUInt64 y) { return pixels.data() + (y * width + x) * nbChannels; }

    vlUInt64 width;
    vlUInt64 height;
    vlUInt64 nbChannels;
    std::vector<unsigned char> pixels;
};

} // namespace velmo::tool
