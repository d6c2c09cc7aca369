// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "picture/Picture.h"

namespace velmo::tool {

enum class eZProjection { Max, Min, Mean };

/// The greatest, the least or the mean of the values that several pictures have at a pixel. Values that are
/// not numbers are left out.
class ZProjection {
  public:
    /// The pictures have the sizes of `first`, which is the first of them.
    ZProjection(eZProjection kind, Picture first);

    void add(Picture const& picture);
    /// The result; the projection is empty then.
    Picture take();

  private:
    eZProjection const _kind;
    Picture _result; ///< sums in place of means
    std::vector<double> _counts;
};

} // namespace velmo::tool
