// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

namespace velmo {
namespace imaproc {
namespace attr {

/// The image that a processor reads.
struct InImg {
    using Value = velmo::image::ImageConstPtr;
    static constexpr char const* s_name = "InImg";
};

/// The image that a processor fills. It is there before the run, with its geometry.
struct OutImg {
    using Value = velmo::image::ImagePtr;
    static constexpr char const* s_name = "OutImg";
};

/// Throws VELMOBaseProcessingException unless the two images have the same sizes and the same pixel type in
/// each time step.
VELMO_HOST_EXPORT void requireSamePixels(velmo::image::BaseImage const& inImage,
                                         velmo::image::BaseImage const& outImage);

} // namespace attr
} // namespace imaproc
} // namespace velmo
