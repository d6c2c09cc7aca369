// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/InterpolationPolicy.h"
#include "VELMOAttributes/ZSteps.h"
#include "VELMOImage/BaseImage.h"

namespace velmo {
namespace imaproc {
namespace attr {

/// The stack that a processor reads.
struct InImg3d {
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg3d";
};

struct InZSteps {
    using Value = ZStepsConstPtr;
    static constexpr char const* s_name = "InZSteps";
};

struct InInterpolationPolicy {
    using Value = eInterpolationPolicy;
    static constexpr char const* s_name = "InInterpolationPolicy";
};

/// Planes of the result.
struct InOutputImg3dZSize {
    using Value = unsigned long;
    static constexpr char const* s_name = "InOutputImg3dZSize";
};

} // namespace attr
} // namespace imaproc
} // namespace velmo
