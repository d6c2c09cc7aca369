// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

namespace velmo::imaproc::attr {

/// How values between planes are interpolated.
enum eInterpolationPolicy : vlUInt64 {
    eIP_Nearest = 0, ///< value of the nearest plane; in the middle that of the plane before
    eIP_Linear = 1,  ///< linear between the two planes
    eIP_Cubic = 2 ///< cubic curve through the planes; its slopes are those of parabolas through three planes
};

} // namespace velmo::imaproc::attr
