// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// Column and row of a pixel, from 0.
struct PixelPlace {
    vlUInt64 x;
    vlUInt64 y;
};

/// How the rows and columns of a file stand in an upright picture.
class Orientation {
  public:
    /// Rows from the top, columns from the left.
    Orientation() = default;
    /// By a value of the TIFF tag Orientation, 1 to 8; any other one is 1.
    explicit Orientation(unsigned int tag);

    /// Whether the rows of the file are columns of the picture.
    bool swapsAxes() const { return _bSwap; }
    /// Where a pixel of the file stands in a picture of `width` by `height` pixels.
    PixelPlace place(PixelPlace const& stored, vlUInt64 width, vlUInt64 height) const;

  private:
    bool _bSwap = false;
    bool _bFromRight = false;
    bool _bFromBottom = false;
};

} // namespace velmo::tool
