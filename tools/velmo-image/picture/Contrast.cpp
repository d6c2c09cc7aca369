// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/Contrast.h"

#include <algorithm>
#include <cmath>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_largestSample = vlUInt64{1} << 22;
/// The share of values that each end of the range leaves out.
constexpr std::size_t g_cutShare = 1000;

} // namespace

ContrastChoice parseContrast(std::string const& option, std::string const& text) {
    if (text.empty()) {
        return {eContrast::Percentiles, {0, 0}};
    }
    if (text == "min,max") {
        return {eContrast::Extent, {0, 0}};
    }
    return {eContrast::Given, parseRange(option, text)};
}

ValueSample::ValueSample(vlUInt64 nbExpected) : _stride(nbExpected / g_largestSample + 1) {}

/// Gaps of equal length could always meet the same column.
vlUInt64 ValueSample::nextGap() {
    constexpr std::uint32_t factor = 1664525;
    constexpr std::uint32_t increment = 1013904223;
    constexpr unsigned int usedBits = 16;
    _random = _random * factor + increment;
    return (_random >> usedBits) % (2 * _stride - 1);
}

void ValueSample::add(std::vector<double> const& values) {
    for (double const value : values) {
        if (!std::isfinite(value)) {
            continue;
        }
        _extent.low = _bEmpty ? value : std::min(_extent.low, value);
        _extent.high = _bEmpty ? value : std::max(_extent.high, value);
        _bEmpty = false;
        if (_nbToSkip == 0) {
            _values.push_back(value);
            _nbToSkip = nextGap();
        } else {
            --_nbToSkip;
        }
    }
}

ValueRange ValueSample::findPercentiles() {
    if (_values.empty()) {
        return _extent;
    }
    auto const nbCut = static_cast<std::ptrdiff_t>(_values.size() / g_cutShare);
    auto const findAt = [&](std::vector<double>::iterator const& place) {
        std::nth_element(_values.begin(), place, _values.end());
        return *place;
    };
    ValueRange const range = {findAt(_values.begin() + nbCut), findAt(_values.end() - 1 - nbCut)};
    return range.low < range.high ? range : _extent;
}

ValueRange ValueSample::find(ContrastChoice const& choice) {
    switch (choice.kind) {
    case eContrast::Percentiles:
        return findPercentiles();
    case eContrast::Extent:
        return _extent;
    case eContrast::Given:
        break;
    }
    return choice.given;
}

} // namespace velmo::tool
