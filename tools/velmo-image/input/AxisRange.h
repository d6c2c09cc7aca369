// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <string>

namespace velmo::tool {

/// Indexes along an axis: `first`, `first` + `step`, and so on, `count` of them.
struct AxisIndexes {
    vlUInt64 first;
    vlUInt64 count;
    vlUInt64 step;
    bool bSingle; ///< one index was asked for, not a range: the axis goes away

    vlUInt64 operator[](vlUInt64 index) const { return first + index * step; }
};

/// The value of an option that picks indexes along an axis, from 0: N, or A:B[:STEP] from A to B, both
/// included, where A and B may be left out.
class AxisRange {
  public:
    /// Throws WrongUse for a text that is not such a value. `option` is the name as users write it.
    AxisRange(std::string option, std::string const& text);

    /// The indexes of an axis of `size`, which `what` names, such as "planes". Throws WrongUse where one
    /// of A, B and N does not exist.
    AxisIndexes select(vlUInt64 size, std::string const& what) const;

  private:
    [[noreturn]] void refuse(std::string const& text) const;

    std::string _option;
    std::optional<vlUInt64> _first;
    std::optional<vlUInt64> _last;
    vlUInt64 _step = 1;
    bool _bSingle = false;
};

/// All indexes of an axis.
inline AxisIndexes selectAll(vlUInt64 size) {
    return {0, size, 1, false};
}

} // namespace velmo::tool
