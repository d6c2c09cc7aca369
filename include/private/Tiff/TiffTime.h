// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace velmo {
namespace image {
namespace file {

/// The current local time as TIFF writes it, "YYYY:MM:DD HH:MM:SS".
std::string getTiffFormatedTime();

} // namespace file
} // namespace image
} // namespace velmo
