// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/Types.h>
#include <functional>
#include <memory>

namespace velmo::tool {

/// What is known of a set of pixels. Minimum and the values after it are those of the finite pixels and 0 if
/// there are none.
struct TallySummary {
    vlUInt64 nbFinite = 0;
    vlUInt64 nbNaN = 0;
    vlUInt64 nbPositiveInfinity = 0;
    vlUInt64 nbNegativeInfinity = 0;
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    double deviation = 0; ///< root of the mean squared distance from the mean
};

/// Pixels whose values lie between two values. `value` is the one next to 0, `farthest` the other one; both
/// are equal if the values are known exactly.
struct TallyBin {
    double value;
    double farthest;
    vlUInt64 nb;
};

/// Counts the pixels of one type by their values.
///
/// Integers of 8 and 16 bits are counted by value. Numbers of 32 bits are counted in 16,384 bins between each
/// two powers of 2, which have at most 1/16,384 of the width of their values: integers below 32,768 and all
/// numbers of at most 15 binary digits are exact. Mean and deviation do not depend on the bins.
class Tally {
  public:
    virtual ~Tally() = default;
    Tally() = default;
    Tally(Tally const&) = delete;
    Tally& operator=(Tally const&) = delete;

    /// Counts pixels of the type.
    virtual void take(std::byte const* pixels, vlUInt64 nbPixels) = 0;
    /// Adds what another tally of the same type has counted. The order of additions has an effect on the last
    /// digits of the mean and the deviation of floating-point values.
    virtual void add(Tally const& other) = 0;
    /// Ends the counting. Must be called before the functions below, after which nothing is counted.
    virtual void close() {}
    virtual TallySummary summarise() const = 0;
    /// Calls `visit` for each bin of finite values that has pixels, in ascending order.
    virtual void visitBins(std::function<void(TallyBin const&)> const& visit) const = 0;
};

/// Throws WorkFailure for an unknown type.
std::unique_ptr<Tally> createTally(image::eImageBufferType type);

} // namespace velmo::tool
