// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <string>
#include <vector>

namespace velmo::tool {

/// Names of numbered TIFF files, such as "z<INDEX>.tif", which as a pattern matches them again.
class NumberedNames {
  public:
    /// Throws WrongUse for a text that is not the name of a TIFF file with one <INDEX> and no wildcards.
    explicit NumberedNames(std::string const& pattern);

    /// `count` names with the numbers from 0, each of at least `nbDigits` digits; 0: as many as the last
    /// number has. Throws WrongUse where the pattern does not match them in their order.
    std::vector<std::string> list(vlUInt64 count, vlUInt64 nbDigits) const;

  private:
    std::string const _pattern;
    std::string _beginning;
    std::string _end;
};

} // namespace velmo::tool
