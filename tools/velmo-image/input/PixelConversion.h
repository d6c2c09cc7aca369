// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CheckedParsing.h"

#include <VELMOImage/ImageEnums.h>
#include <atomic>
#include <optional>

namespace velmo::tool {

/// How pixels become another type. Values are rounded to the nearest one of the type, from the middle to the
/// even one, and clamped to its smallest and largest value. NaN becomes 0 in an integer type and stays NaN in
/// real32.
struct PixelConversion {
    image::eImageBufferType type;
    /// Scaled linearly to the smallest and the largest value of the type, in real32 to 0 and 1; values
    /// outside of it are clamped.
    std::optional<ValueRange> range;
};

/// What conversions changed. Any thread may count.
struct ConversionCounts {
    std::atomic<vlUInt64> nbClamped{0};
    std::atomic<vlUInt64> nbRounded{0}; ///< without a range only, since scaling rounds nearly all values
    std::atomic<vlUInt64> nbNaN{0};     ///< that became 0
};

/// Smallest and largest value of a type; 0 and 1 for binary pixels and for real32.
ValueRange getFullRange(image::eImageBufferType type);

/// Converts `nbValues` pixels from `pFrom` to `pTo`, which must not overlap.
void convertPixels(void const* pFrom, image::eImageBufferType fromType, void* pTo,
                   PixelConversion const& conversion, vlUInt64 nbValues, ConversionCounts& counts);

} // namespace velmo::tool
