// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/InterpolationPolicy.h"
#include "VELMOAttributes/ZSteps.h"
#include "VELMOImage/BaseImage.h"

namespace velmo::imaproc::attr {

/// The stack that a processor reads.
struct InImg3d {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg3d";
    /// @}
};

/// The steps between the planes of the stack, one fewer than planes, without a unit.
struct InZSteps {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = ZStepsConstPtr;
    static constexpr char const* s_name = "InZSteps";
    /// @}
};

/// How planes between those of the stack come about; linear unless it is set.
struct InInterpolationPolicy {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = eInterpolationPolicy;
    static constexpr char const* s_name = "InInterpolationPolicy";
    /// @}
};

/// Planes of the result.
struct InOutputImg3dZSize {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = unsigned long;
    static constexpr char const* s_name = "InOutputImg3dZSize";
    /// @}
};

} // namespace velmo::imaproc::attr
