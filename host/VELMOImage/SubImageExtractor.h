// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/DiskImage.h"

#include <vector>

namespace velmo::image {

/// Joins images along Z or T, in the order of the vector. No pixel is copied: the result reads from its
/// parts, which it co-owns. A failure (nothing to join, parts that do not fit, a part whose planes differ in
/// their pixel types, an empty pointer) leaves the output as it was and names the part.
class VELMO_HOST_EXPORT SubImageExtractor {
  public:
    template <class Image>
    /// @{
    /// Along Z, of images of one time step; along T. Images of any kinds.
    static BoolResult concatenateVolumes(std::vector<boost::shared_ptr<Image>> const& parts,
                                         boost::shared_ptr<Image>& out);
    template <class Image>
    static BoolResult concatenateSequences(std::vector<boost::shared_ptr<Image>> const& parts,
                                           boost::shared_ptr<Image>& out);
    /// @}

    /// @{
    /// Of disk images, into a disk image over all their files.
    static BoolResult concatenateDiskVolumes(std::vector<ImagePtr> const& parts, DiskImagePtr& out);
    static BoolResult concatenateDiskSequences(std::vector<ImagePtr> const& parts, DiskImagePtr& out);
    /// @}
};

/// @cond
template <>
VELMO_HOST_EXPORT BoolResult
SubImageExtractor::concatenateVolumes<BaseImage>(std::vector<ImagePtr> const& parts, ImagePtr& out);
template <>
VELMO_HOST_EXPORT BoolResult
SubImageExtractor::concatenateSequences<BaseImage>(std::vector<ImagePtr> const& parts, ImagePtr& out);
/// @endcond

} // namespace velmo::image
