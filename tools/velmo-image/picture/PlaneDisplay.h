// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "picture/Bitmap.h"
#include "picture/Colours.h"
#include "picture/Orientation.h"
#include "picture/Picture.h"
#include "picture/PictureLayout.h"
#include "picture/ZProjection.h"
#include "terminal/CheckedParsing.h"

#include <VELMOImage/BaseImage.h>
#include <optional>

namespace velmo::tool {

enum class eColouring {
    Levels, ///< a channel is grey, three are red, green and blue
    Labels, ///< each label has a colour
    Palette ///< the pixels are indexes of colours
};

/// How the planes of an image become pictures.
struct PlaneDisplay {
    Orientation orientation;
    eColouring colouring = eColouring::Levels;
    bool bNames = false;         ///< pixels are labels or indexes, of which there is no mean
    std::vector<Colour> palette; ///< of eColouring::Palette
};

/// Planes along Z of a time step.
struct PlaneRun {
    vlUInt64 firstZ;
    vlUInt64 nbZ;
    vlUInt64 step;                  ///< from a plane to the next one
    std::vector<vlUInt64> channels; ///< shown together
    vlUInt64 t;
    std::optional<eZProjection> projection; ///< all of the planes make one picture

    /// Pictures side by side.
    vlUInt64 countCells() const { return projection ? 1 : nbZ; }
};

/// The layout of a run in a picture; arguments as those of layOut.
PictureLayout layOutRun(image::BaseImageGeometry const& geometry, PlaneDisplay const& display,
                        PlaneRun const& run, vlUInt64 nbColumns, vlUInt64 maxSize);

/// Reads the planes of a run plane by plane. Throws WorkFailure, also where the picture takes more memory
/// than there is.
Picture composePicture(image::BaseImage const& image, PlaneDisplay const& display, PlaneRun const& run,
                       PictureLayout const& layout);

/// A picture as it is shown. The range and `bMinIsBlack` are those of eColouring::Levels.
Bitmap toBitmap(Picture const& picture, PlaneDisplay const& display, ValueRange const& range,
                bool bMinIsBlack);

/// Draws the number of its plane into each cell of a run.
void numberCells(PlaneRun const& run, PictureLayout const& layout, Bitmap& bitmap);

} // namespace velmo::tool
