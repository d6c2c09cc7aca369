// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo {

namespace image {
class BaseImage;
}

namespace imaproc::util {

/// Throws VELMOBaseProcessingException unless both images have the same sizes and, in each time step, the
/// same pixel type.
void requireSamePixels(velmo::image::BaseImage const& inImage, velmo::image::BaseImage const& outImage);

} // namespace imaproc::util
} // namespace velmo
