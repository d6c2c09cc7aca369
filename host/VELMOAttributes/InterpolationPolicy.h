// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

namespace velmo::imaproc::attr {

/// How a value between planes comes about.
enum eInterpolationPolicy : vlUInt64 {
    eIP_Nearest = 0, ///< the nearer plane's; half way the one before
    eIP_Linear = 1,  ///< on the straight line between the two planes
    eIP_Cubic = 2    ///< on a cubic curve through the planes, whose slopes are those of the parabolas through
                     ///< each three neighbours
};

} // namespace velmo::imaproc::attr
