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
    BinCounts() = default;
    BinCounts(BinCounts const&) = delete;
    BinCounts& operator=(BinCounts const&) = delete;

    /// A number as its bits. Those of NaN and infinities are not visited.
    void count(std::uint32_t bits) {
        vlUInt64*& pPage = _pPages[bits >> g_fractionBits];
        if (pPage == nullptr) {
            pPage = addPage(bits >> g_fractionBits);
        }
        ++pPage[bits >> g_lostBits & (g_pageSize - 1)];
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
    static constexpr std::uint32_t g_nbExponents = 256; ///< of each sign
    static constexpr std::size_t g_nbPages = 512;

    vlUInt64* addPage(std::uint32_t exponent) {
        _pages[exponent].resize(g_pageSize);
        return _pages[exponent].data();
    }

    std::array<Page, g_nbPages> _pages;         ///< empty ones have no numbers
    std::array<vlUInt64*, g_nbPages> _pPages{}; ///< the counts of the pages, or null
};

} // namespace velmo::tool
