// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/BinCounts.h"

#include <cstring>

namespace velmo::tool {

namespace {

double toNumber(std::uint32_t bits) {
    float number = 0;
    std::memcpy(&number, &bits, sizeof(number));
    return static_cast<double>(number) + 0.0; // -0 becomes 0
}

} // namespace

void BinCounts::add(BinCounts const& other) {
    for (std::size_t exponent = 0; exponent < _pages.size(); ++exponent) {
        Page const& added = other._pages[exponent];
        if (!added.empty() && _pPages[exponent] == nullptr) {
            _pPages[exponent] = addPage(static_cast<std::uint32_t>(exponent));
        }
        for (std::size_t index = 0; index < added.size(); ++index) {
            _pages[exponent][index] += added[index];
        }
    }
}

void BinCounts::visit(std::function<void(double, double, vlUInt64)> const& visit) const {
    auto const visitPage = [&](std::uint32_t exponent, bool bDown) {
        Page const& page = _pages[exponent];
        for (std::uint32_t step = 0; step < page.size(); ++step) {
            std::uint32_t const index = bDown ? g_pageSize - 1 - step : step;
            std::uint32_t const bits = exponent << g_fractionBits | index << g_lostBits;
            if (page[index] != 0) {
                visit(toNumber(bits), toNumber(bits + (1U << g_lostBits)), page[index]);
            }
        }
    };
    for (std::uint32_t exponent = 2 * g_nbExponents - 2; exponent >= g_nbExponents; --exponent) {
        visitPage(exponent, true);
    }
    for (std::uint32_t exponent = 0; exponent < g_nbExponents - 1; ++exponent) {
        visitPage(exponent, false);
    }
}

} // namespace velmo::tool
