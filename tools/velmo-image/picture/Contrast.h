// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/CheckedParsing.h"

#include <vector>

namespace velmo::tool {

enum class eContrast {
    Percentiles, ///< all but the least and the greatest thousandth of the values
    Extent,      ///< from the minimum to the maximum
    Given        ///< a given range
};

/// Which values are shown as black and white.
struct ContrastChoice {
    eContrast kind;
    ValueRange given; ///< of eContrast::Given
};

/// The value of an option: "min,max", "LO,HI", or nothing for percentiles. Throws WrongUse.
ContrastChoice parseContrast(std::string const& option, std::string const& text);

/// Finds a range of values that shows an image well. Values that are not finite are ignored. Of more than
/// four million values an evenly spread sample is kept.
class ValueSample {
  public:
    /// `nbExpected` is the number of values that will be added.
    explicit ValueSample(vlUInt64 nbExpected);

    void add(std::vector<double> const& values);
    /// The least and the greatest value, exact; 0 and 0 without values.
    ValueRange const& getExtent() const { return _extent; }
    /// The range of a choice. The percentiles 0.1 and 99.9 are values of the sample; where they are equal,
    /// the range is the extent.
    ValueRange find(ContrastChoice const& choice);

  private:
    ValueRange findPercentiles();
    vlUInt64 nextGap();

    vlUInt64 const _stride;
    vlUInt64 _nbToSkip = 0;
    std::uint32_t _random = 1;
    std::vector<double> _values;
    bool _bEmpty = true;
    ValueRange _extent = {0, 0};
};

} // namespace velmo::tool
