// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

namespace velmo::imaproc::attr {

/// The image to read.
struct InImg {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg";
    /// @}
};

/// The image to write. It has its geometry before the run.
struct OutImg {
    /// @{
    /// Type of the value, and name of the attribute in messages.
    using Value = velmo::image::ImagePtr;
    static constexpr char const* s_name = "OutImg";
    /// @}
};

} // namespace velmo::imaproc::attr
