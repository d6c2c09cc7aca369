// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <string>
#include <utility>
#include <vector>

namespace velmo::tool {

/// Names and values for readers: format, sizes, pixel types, colour, calibration, user properties, bytes.
std::vector<std::pair<std::string, std::string>> listFacts(std::string const& format,
                                                           image::BaseImage const& image);

} // namespace velmo::tool
