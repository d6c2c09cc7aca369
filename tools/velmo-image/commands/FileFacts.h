// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <string>
#include <utility>
#include <vector>

namespace velmo::tool {

/// The names of the pixel types: one, or, if they differ, one for each time step.
std::vector<std::string> getTypeNames(image::BaseImageGeometry const& geometry);
/// Such as "0.25 x 0.125 um"; empty without a calibration.
std::string describePixelSize(image::GeometricCalibrationConstPtr const& pCalibration);

/// Names and values for readers: format, sizes, pixel types (each once), colour, kind, calibration, user
/// properties, bytes.
std::vector<std::pair<std::string, std::string>> listFacts(std::string const& format,
                                                           image::BaseImage const& image);

} // namespace velmo::tool
