// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "picture/Orientation.h"
#include "picture/Picture.h"

#include <VELMOImage/BaseImage.h>
#include <VELMOImage/ImageGeometry.h>

namespace velmo::tool {

/// Where a plane goes in a picture.
struct PictureCell {
    vlUInt64 x; ///< of its first pixel
    vlUInt64 y;
    vlUInt64 width; ///< of the upright plane
    vlUInt64 height;
    vlUInt64 channel;
    Orientation orientation;
    bool bNames; ///< values are names, such as labels, of which there is no mean
};

/// Puts a plane, turned upright, into a cell that is not larger. Each pixel of the cell is the mean of the
/// pixels that it stands for, without those that are not numbers; of names, the one in their middle. Binary
/// pixels count as 0 and 1. The plane is read in small pieces, whatever its size.
void putPlane(image::BaseImage const& image, image::PlanIndexes const& plane, PictureCell const& cell,
              Picture& picture);

} // namespace velmo::tool
