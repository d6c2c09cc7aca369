// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/Tally.h"

#include <array>
#include <cstdint>
#include <vector>

namespace velmo::tool {

/// Counts of 32-bit floating-point numbers in bins by sign, exponent and the first 14 digits of the fraction.
/// Memory is used for the exponents that occur.
class BinCounts {
  public:
    /// A number as its bits. Those of NaN and infinities are not visited.
    void count(std::uint32_t bits) {
        Page& page = _pages[bits >> g_fractionBits];
        if (page.empty()) {
            page.resize(g_pageSize);
        }
        ++page[bits >> g_lostBits & (g_pageSize - 1)];
    }
    void add(BinCounts const& other);

    /// The bits of a number that its bin does not have.
    static constexpr std::uint32_t getLostBits(std::uint32_t bits) { return bits & ((1U << g_lostBits) - 1); }

    /// In ascending order: the bound of a bin next to 0, and the bound beyond the bin; the last one of all is
    /// infinite.
    void visit(std::function<void(double, double, vlUInt64)> const& visit) const;

  private:
    using Page = std::vector<vlUInt64>;

    static constexpr unsigned int g_fractionBits = 23;
    static constexpr unsigned int g_lostBits = 9;
    static constexpr std::uint32_t g_pageSize = 1U << (g_fractionBits - g_lostBits);
    static constexpr std::uint32_t g_nbExponents = 256;

    std::array<Page, 2 * g_nbExponents> _pages; ///< empty ones have no numbers
};

} // namespace velmo::tool
