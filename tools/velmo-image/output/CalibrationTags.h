// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/TiffTags.h"

#include <VELMOImage/GeometricCalibration.h>
#include <optional>
#include <string>

namespace velmo::tool {

/// A calibration as the resolution tags of TIFF.
struct CalibrationTags {
    std::optional<TiffResolution> resolution; ///< empty where the tags cannot hold it
    std::string warning; ///< what the tags do not hold, and why; empty where they hold all
};

/// Pixels per centimetre for a known unit; pixels per unnamed unit for another one or none. `pCalibration`
/// may be null.
CalibrationTags toTags(image::GeometricCalibrationConstPtr const& pCalibration);
/// Pixels per unit of the calibration, which the tags do not name; nothing without a calibration.
CalibrationTags toUnitTags(image::GeometricCalibrationConstPtr const& pCalibration);

/// Whether this is the name of a unit of length, such as "um", "inch" or "millimetres".
bool isKnownUnit(std::string const& name);

} // namespace velmo::tool
