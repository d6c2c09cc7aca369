// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <array>
#include <cstddef>
#include <cstdint>

namespace velmo::python {

/// Pixels along one axis: `number` indexes from `first` on, `step` apart. The step may be negative.
struct AxisRange {
    vlUInt64 first;
    std::int64_t step;
    vlUInt64 number;
};

/// Indexes along T, C, Z, Y and X.
using Region = std::array<AxisRange, 5>;

/// Memory of an array: the address of its first element, and the bytes between neighbours along T, C, Z, Y,
/// X.
struct StridedMemory {
    std::byte* pFirst;
    std::array<std::ptrdiff_t, 5> strides;
};

/// Throws std::out_of_range if an index of the region is outside of the image.
void requireInside(image::BaseImageGeometry const& geometry, Region const& region);

/// Reads a region, which must be inside of the image, into memory that has an element for each of its pixels.
/// Whole rows are read directly into memory in which they are contiguous; for other regions the memory of one
/// plane is allocated. After an error a part of the region may have been read.
BoolResult readRegion(image::BaseImage const& image, Region region, StridedMemory target);

} // namespace velmo::python
