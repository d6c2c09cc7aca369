// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/PictureLayout.h"

#include "terminal/Failure.h"

#include <algorithm>
#include <cmath>

namespace velmo::tool {

namespace {

/// Long doubles count all 64-bit sizes exactly, and their products without overflow.
using Real = long double;

/// The other side of a cell whose one side shrinks from `size` to `shrunk`.
vlUInt64 shrinkAlike(vlUInt64 otherSize, vlUInt64 size, vlUInt64 shrunk, vlUInt64 limit) {
    Real const other =
        std::round(static_cast<Real>(otherSize) * static_cast<Real>(shrunk) / static_cast<Real>(size));
    return static_cast<vlUInt64>(std::clamp<Real>(other, 1, static_cast<Real>(limit)));
}

} // namespace

PictureLayout layOut(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 nbCells, vlUInt64 nbColumns, vlUInt64 maxSize) {
    auto const columns = nbColumns != 0
                             ? std::min(nbColumns, nbCells)
                             : static_cast<vlUInt64>(std::ceil(std::sqrt(static_cast<Real>(nbCells))));
    PictureLayout layout = {columns, nbCells / columns + (nbCells % columns != 0 ? 1 : 0), sizeX, sizeY};
    if (layout.columns > maxSize || layout.rows > maxSize) {
        throw WrongUse("a montage of " + std::to_string(nbCells) + " planes in " + std::to_string(columns) +
                       " columns does not fit in --max-size " + std::to_string(maxSize) +
                       "; --step shows fewer, and without --montage one plane is shown");
    }
    Real const width = static_cast<Real>(sizeX) * static_cast<Real>(layout.columns);
    Real const height = static_cast<Real>(sizeY) * static_cast<Real>(layout.rows);
    vlUInt64 const widthLimit = maxSize / layout.columns;
    vlUInt64 const heightLimit = maxSize / layout.rows;
    if (width >= height && sizeX > widthLimit) {
        layout.cellWidth = widthLimit;
        layout.cellHeight = shrinkAlike(sizeY, sizeX, widthLimit, heightLimit);
    } else if (height > width && sizeY > heightLimit) {
        layout.cellHeight = heightLimit;
        layout.cellWidth = shrinkAlike(sizeX, sizeY, heightLimit, widthLimit);
    }
    return layout;
}

} // namespace velmo::tool
