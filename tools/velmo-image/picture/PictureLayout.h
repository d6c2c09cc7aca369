// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// A grid of cells of one size, filled row by row, in pixels.
struct PictureLayout {
    vlUInt64 columns;
    vlUInt64 rows;
    vlUInt64 cellWidth;
    vlUInt64 cellHeight;

    vlUInt64 getWidth() const { return columns * cellWidth; }
    vlUInt64 getHeight() const { return rows * cellHeight; }
};

/// Cells in at most `nbColumns` columns, or, if that is 0, in about as many columns as rows. The cells keep
/// the shape of planes of `sizeX` by `sizeY` pixels: as large as these, or smaller so that no side of the
/// picture is longer than `maxSize`. Throws WrongUse where even cells of one pixel don't fit. No other number
/// is 0.
PictureLayout layOut(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 nbCells, vlUInt64 nbColumns, vlUInt64 maxSize);

} // namespace velmo::tool
