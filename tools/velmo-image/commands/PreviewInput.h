// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputImage.h"
#include "picture/Contrast.h"
#include "picture/PlaneDisplay.h"

namespace velmo::tool {

/// What of an image is shown, as the options say. Indexes are not checked yet.
struct PreviewChoice {
    std::optional<vlUInt64> z;
    std::optional<vlUInt64> c;
    std::optional<vlUInt64> t;
    vlUInt64 step;
    std::optional<eZProjection> projection;
    ContrastChoice contrast;
    vlUInt64 maxSize;
};

/// All planes of the choice along Z, of the chosen or the first time step and of the channels shown together.
/// Throws WrongUse for an index that does not exist.
PlaneRun selectRun(image::BaseImageGeometry const& geometry, PreviewChoice const& choice);

/// How the channels of a run are shown. With a given range labels and palettes are shown as numbers. Throws
/// WrongUse for a projection of labels or indexes that has no meaning.
PlaneDisplay chooseDisplay(InputImage const& input, PlaneRun const& run, ContrastChoice const& contrast);

/// The range of a choice; that of binary pixels is 0 to 1 unless one is given.
ValueRange findShownRange(image::BaseImageGeometry const& geometry, ContrastChoice const& choice,
                          ValueSample& sample);

} // namespace velmo::tool
