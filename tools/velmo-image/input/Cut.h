// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/AxisRange.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>

namespace velmo::tool {

/// A rectangle of each plane, in pixels.
struct PlaneRegion {
    vlUInt64 x;
    vlUInt64 y;
    vlUInt64 sizeX;
    vlUInt64 sizeY;
};

/// A part of an image.
struct Cut {
    AxisIndexes z;
    AxisIndexes c;
    AxisIndexes t;
    PlaneRegion region;
};

/// The whole of an image.
Cut getWholeCut(image::BaseImageGeometry const& geometry);

/// The value X,Y,W,H of an option. Throws WrongUse.
PlaneRegion parseRegion(std::string const& option, std::string const& text);
/// Throws WrongUse for a region that is not within the planes.
void requireInside(std::string const& option, PlaneRegion const& region,
                   image::BaseImageGeometry const& geometry);

/// The geometry of a part: a single plane or time step makes a 2D image or a single time step. Some of the
/// channels of colours are grey channels, except for those of RGB in RGBA. Throws WorkFailure for an image
/// whose planes along Z have several pixel types.
image::ImageGeometryPtr createCutGeometry(image::BaseImageGeometry const& geometry, Cut const& cut);

/// The calibration of a part: a step makes planes thicker. May be null.
image::GeometricCalibrationConstPtr
createCutCalibration(image::GeometricCalibrationConstPtr const& pCalibration, Cut const& cut);

} // namespace velmo::tool
