// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageEnums.h"

#include <array>
#include <cstddef>

namespace velmo::imaproc::gtrans {

/// A plane and the weight of its difference from the base plane.
struct BlendTerm {
    /// @{
    /// Pixels of the plane, and the weight of their difference from the base.
    std::byte const* pPlane;
    double weight;
    /// @}
};

/// Writes to `pTarget` the base plane plus the weighted differences of the terms from it. Integers are
/// rounded to nearest, halves away from zero, and clamped to the range of their type. At most 3 terms.
void blendPlanes(image::eImageBufferType bufferType, vlUInt64 nbPixels, std::byte const* pBase,
                 BlendTerm const* pTerms, unsigned int nbTerms, std::byte* pTarget);

} // namespace velmo::imaproc::gtrans
