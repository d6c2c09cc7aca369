// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "picture/Bitmap.h"

namespace velmo::tool {

/// Part of a bitmap.
struct Rectangle {
    vlUInt64 x;
    vlUInt64 y;
    vlUInt64 width;
    vlUInt64 height;
};

/// Draws a number into the upper left corner of a part, white with a black outline, larger in larger parts.
/// Draws nothing where it would take more than half of the width or of the height.
void drawNumber(vlUInt64 number, Rectangle const& part, Bitmap& bitmap);

} // namespace velmo::tool
