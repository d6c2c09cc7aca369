// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PixelKind.h"

#include <cstddef>
#include <optional>
#include <string>

namespace velmo::importer {

/// A run of pixels of one row, as libtiff decodes them: `nbStored` samples for each pixel.
struct StoredRun {
    std::byte const* pRow; ///< first byte of the row
    vlUInt64 sample;       ///< which sample of each pixel
    vlUInt64 nbPixels;     ///< from the first pixel of the row on
};

/// The first value of a run that cannot be converted.
struct UnfitValue {
    vlUInt64 pixel; ///< of the run
    std::string value;
};

/// Greatest difference between a stored value and the pixel that it became.
struct Rounding {
    double greatestError = 0;
    double value = 0; ///< the stored value with this error
};

/// Converts a run into pixels of `kind.type` at `pPixels`, without the palette. Stops at the first value that
/// does not fit. Rounding is merged into `rounding`.
std::optional<UnfitValue> convertRun(PixelKind const& kind, StoredRun const& run, std::byte* pPixels,
                                     Rounding& rounding);

/// The value of a 16-bit floating point number, exact.
float fromHalf(std::uint16_t bits);
/// The value of a 24-bit floating point number: 1 bit sign, 7 bits exponent, 16 bits fraction. Exact.
float fromFloat24(std::uint32_t bits);

} // namespace velmo::importer
