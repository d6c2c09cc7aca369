// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/TiffResolution.h"

#include <VELMOImage/GeometricCalibration.h>
#include <optional>
#include <string>

namespace velmo::tool {

/// What the resolution tags of TIFF can tell of a calibration.
struct CalibrationTags {
    std::optional<TiffResolution> resolution; ///< none where they can tell nothing
    std::string warning;                      ///< what they do not tell, and why; empty where they tell all
};

/// In pixels per centimetre where the unit is a known one; for another unit, or none, in pixels per unit
/// without a name. `pCalibration` may be null.
CalibrationTags toTags(image::GeometricCalibrationConstPtr const& pCalibration);

} // namespace velmo::tool
