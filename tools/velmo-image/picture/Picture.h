// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <limits>
#include <vector>

namespace velmo::tool {

/// Values of pixels before they become grey levels: rows from the first on, channels of a pixel side by side.
/// A value that is not a number is a pixel that shows nothing.
struct Picture {
    Picture(vlUInt64 pictureWidth, vlUInt64 pictureHeight, vlUInt64 channels)
        : width(pictureWidth), height(pictureHeight), nbChannels(channels),
          values(pictureWidth * pictureHeight * channels, std::numeric_limits<double>::quiet_NaN()) {}

    double& at(vlUInt64 x, vlUInt64 y, vlUInt64 channel) {
        return values[(y * width + x) * nbChannels + channel];
    }

    vlUInt64 width;
    vlUInt64 height;
    vlUInt64 nbChannels;
    std::vector<double> values;
};

} // namespace velmo::tool
