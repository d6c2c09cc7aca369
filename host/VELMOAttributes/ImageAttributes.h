// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

namespace velmo::imaproc::attr {

/// The image that a processor reads.
struct InImg {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg";
    /// @}
};

/// The image that a processor fills. It is there before the run, with its geometry.
struct OutImg {
    /// @{
    /// The type of the attribute's value, and its name in messages.
    using Value = velmo::image::ImagePtr;
    static constexpr char const* s_name = "OutImg";
    /// @}
};

} // namespace velmo::imaproc::attr
