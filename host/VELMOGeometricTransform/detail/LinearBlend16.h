// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

#include <cstddef>

namespace velmo::imaproc::gtrans {

/// blendSample of each two samples of 16 bits without sign with one weight between 0 and 1, several times as
/// fast: most samples are calculated 8 at a time in integers of 16 bits, which tell where all but those near
/// a half are rounded to.
void blendLinear16(vlUInt64 nbPixels, double weight, std::byte const* pBase, std::byte const* pOther,
                   std::byte* pTarget);

} // namespace velmo::imaproc::gtrans
