// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/Orientation.h"

namespace velmo::tool {

Orientation::Orientation(unsigned int tag)
    : _bSwap(tag >= 5 && tag <= 8), _bFromRight(tag == 2 || tag == 3 || tag == 6 || tag == 7),
      _bFromBottom(tag == 3 || tag == 4 || tag == 7 || tag == 8) {}

PixelPlace Orientation::place(PixelPlace const& stored, vlUInt64 width, vlUInt64 height) const {
    PixelPlace const turned = _bSwap ? PixelPlace{stored.y, stored.x} : stored;
    return {_bFromRight ? width - 1 - turned.x : turned.x, _bFromBottom ? height - 1 - turned.y : turned.y};
}

} // namespace velmo::tool
