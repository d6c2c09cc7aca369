// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PageDescription.h"

#include <vector>

namespace velmo::importer {

/// Colours of a palette, each of 16 bits as in the file.
struct Palette {
    std::vector<std::uint16_t> red;
    std::vector<std::uint16_t> green;
    std::vector<std::uint16_t> blue;
    /// The bits by which colours are shifted to the right: 8 if all of them have 8 bits, otherwise 0.
    unsigned int shift = 0;
};

/// The palette of the current directory. Throws ImportException if there is none.
Palette readPalette(TiffHandle const& handle, PageShape const& shape);

} // namespace velmo::importer
