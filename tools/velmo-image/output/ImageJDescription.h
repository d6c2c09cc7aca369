// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/TiffTags.h"

#include <VELMOImage/BaseImage.h>
#include <string>

namespace velmo::tool {

/// What ImageJ needs to open a TIFF file of this library as a hyperstack.
struct ImageJTags {
    TiffTagEdits edits;
    std::string warning; ///< what the tags do not hold; empty where they hold all
};

/// The description in the form of ImageJ: numbers of channels, planes and time steps, the order of the
/// pages, and the calibration, whose pixel size is in the resolution tags. Throws WorkFailure, which names
/// `file`, for images that ImageJ does not open: several pixel types, and colours of other types than it has.
ImageJTags describeForImageJ(image::BaseImage const& image, std::string const& file);

} // namespace velmo::tool
