// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <array>
#include <vector>

namespace velmo::tool {

/// Red, green and blue.
using Colour = std::array<unsigned char, 3>;

bool isLabel(image::eImageBufferType type);

/// The colour of a label, the same in every picture: black for 0, and a bright one for any other label.
Colour getLabelColour(vlUInt64 label);

/// Three levels for each value, which is a label.
std::vector<unsigned char> toLabelColours(std::vector<double> const& values);

/// Three levels for each value, which is an index of the palette. Black for a value that is no index.
std::vector<unsigned char> toPaletteColours(std::vector<double> const& values,
                                            std::vector<Colour> const& palette);

} // namespace velmo::tool
