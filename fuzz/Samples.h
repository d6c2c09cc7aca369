// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace velmo::fuzz {

/// The bytes of an Im6 file of 2 x 1 pixels of 16 bits, 2 planes along Z, RGB and 2 time steps, with a text
/// and a calibration record after it.
std::string makeIm6(std::string const& text, bool bCalibration);

} // namespace velmo::fuzz
