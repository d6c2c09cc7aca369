// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/PixelReader.h"

#include <optional>

namespace velmo::tool {

/// A pixel whose values differ.
struct DifferentPixel {
    vlUInt64 x;
    vlUInt64 y;
    image::PlanIndexes plane;
    double a;
    double b;
    double difference; ///< distance of the values; infinite if one of them is NaN or infinite
};

/// Differences b - a of two images. NaN is equal to NaN, and an infinity to itself; such pixels have the
/// difference 0. Other pixels with NaN or an infinity differ beyond any tolerance and have no difference.
struct Comparison {
    vlUInt64 nbPixels = 0;
    vlUInt64 nbDifferent = 0;               ///< beyond the tolerance
    vlUInt64 nbWithoutDifference = 0;       ///< one of the values is NaN or infinite
    std::optional<DifferentPixel> greatest; ///< the first one with the greatest difference
    double sum = 0;                         ///< of the differences
    double sumOfSquares = 0;
    double peak = 0; ///< range of the type of a; for floating point, range of its finite values

    /// @{
    /// Of the pixels that have a difference; 0 without any.
    double getMean() const;
    double getRms() const;
    /// @}
    /// Peak signal-to-noise ratio in dB; infinite without differences.
    double getPsnr() const;
};

/// Compares the values of two images of the same sizes, whatever their pixel types, in one pass. The result
/// does not depend on the number of threads. Throws WorkFailure where one cannot be read, and Interrupted.
Comparison compareImages(PixelReader const& a, PixelReader const& b, double tolerance, vlUInt64 nbThreads);

} // namespace velmo::tool
