// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PageDescription.h"

#include <array>
#include <cstddef>

namespace velmo::importer {

/// Whether `toRgb` converts pixels of this shape: interleaved CIE Lab or ICC Lab of 8 or 16 bits.
bool isConvertibleLab(PageShape const& shape);

/// The sRGB colour of a stored Lab pixel with a white of D50, adapted to D65 by the method of Bradford.
/// Colours outside of sRGB are cut. The pixel has the samples L, a, b in the byte order of the machine.
std::array<std::uint8_t, 3> toRgb(PageShape const& shape, std::byte const* pPixel);

} // namespace velmo::importer
