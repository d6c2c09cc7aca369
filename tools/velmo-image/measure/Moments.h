// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cstdint>
#include <vector>

namespace velmo::tool {

/// Sums of integers of at most 32 bits, without rounding, of up to 2^62 of them.
class IntegerSums {
  public:
    /// `nb` values equal to `value`.
    void add(std::int64_t value, vlUInt64 nb);
    /// Sums of several values: `squares` is `squaresHigh` * 2^32 + `squaresLow`.
    void add(vlUInt64 nb, std::int64_t sum, vlUInt64 squaresLow, vlUInt64 squaresHigh);
    void add(IntegerSums const& other);

    /// The values must not be none.
    double getMean() const;
    /// Square root of the mean squared distance from the mean, correct to the last digits.
    double getDeviation() const;

  private:
    __extension__ typedef __int128 Wide; // NOLINT(modernize-use-using): takes no __extension__

    vlUInt64 _nb = 0;
    Wide _sum = 0;
    Wide _squares = 0;
};

/// Mean and squared distances from it of a block of values.
struct BlockMoments {
    double nb = 0;
    double mean = 0;
    double squares = 0; ///< sum of the squared distances from the mean

    /// Joins two blocks; the order of a series of blocks has an effect on the last digits.
    void add(BlockMoments const& other);
    double getDeviation() const;
};

/// Moments of floating-point values, in blocks of a fixed number of values from the beginning of a run on.
/// NaN and infinities are counted and left out.
class FloatMoments {
  public:
    void take(float const* values, vlUInt64 nb);
    /// Joins the blocks of `other`, one after the other, to one block.
    void append(FloatMoments const& other);

    /// All values in one block.
    BlockMoments getWhole() const;
    vlUInt64 getNbFinite() const { return _nbFinite; }
    vlUInt64 getNbNaN() const { return _nbNaN; }
    vlUInt64 getNbPositiveInfinity() const { return _nbPositive; }
    vlUInt64 getNbNegativeInfinity() const { return _nbNegative; }
    /// Of the finite values; there must be some.
    float getMinimum() const { return _minimum; }
    float getMaximum() const { return _maximum; }

  private:
    void takeBlock(float const* values, vlUInt64 nb);
    /// At least one value; with the least and the greatest of them.
    void takeFinite(float const* values, vlUInt64 nb, float minimum, float maximum);

    std::vector<BlockMoments> _blocks;
    vlUInt64 _nbFinite = 0;
    vlUInt64 _nbNaN = 0;
    vlUInt64 _nbPositive = 0;
    vlUInt64 _nbNegative = 0;
    float _minimum = 0;
    float _maximum = 0;
};

} // namespace velmo::tool
