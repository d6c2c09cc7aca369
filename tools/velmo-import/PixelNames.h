// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PageDescription.h"

#include <string>

namespace velmo::importer {

/// Values of PhotometricInterpretation that libtiff's headers do not name.
constexpr std::uint16_t g_colourFilterArray = 32803;
constexpr std::uint16_t g_linearRaw = 34892;

/// "uint16", "float32", "complex64".
std::string describeSamples(PageShape const& shape);
/// "CIE Lab", or the number of an unknown photometric interpretation.
std::string nameColours(std::uint16_t photometric);
/// "512 x 512, 3 samples of uint16, RGB".
std::string describePixels(PageShape const& shape);

} // namespace velmo::importer
