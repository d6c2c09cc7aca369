// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/InterpolationPolicy.h"
#include "VELMOAttributes/ZSteps.h"
#include "VELMOImage/BaseImage.h"

namespace velmo::imaproc::attr {

/// The stack to read.
struct InImg3d {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg3d";
    /// @}
};

/// The steps between the planes of the stack: one fewer than planes, without a unit.
struct InZSteps {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = ZStepsConstPtr;
    static constexpr char const* s_name = "InZSteps";
    /// @}
};

/// How planes between those of the stack are interpolated; linear by default.
struct InInterpolationPolicy {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = eInterpolationPolicy;
    static constexpr char const* s_name = "InInterpolationPolicy";
    /// @}
};

/// Number of planes of the result.
struct InOutputImg3dZSize {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = unsigned long;
    static constexpr char const* s_name = "InOutputImg3dZSize";
    /// @}
};

} // namespace velmo::imaproc::attr
