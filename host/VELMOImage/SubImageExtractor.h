// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/DiskImage.h"

#include <vector>

namespace velmo::image {

/// Joins images along Z or T, in the order of the vector, without a copy: the result reads from its parts,
/// which it co-owns. Fails for an empty vector, for parts that do not fit, for a part with different pixel
/// types, and for a null pointer. The message names the part; the output is unchanged.
class VELMO_HOST_EXPORT SubImageExtractor {
  public:
    template <class Image>
    /// @{
    /// Joins images of any kind: along Z, where each must have a single time step; along T.
    static BoolResult concatenateVolumes(std::vector<boost::shared_ptr<Image>> const& parts,
                                         boost::shared_ptr<Image>& out);
    template <class Image>
    static BoolResult concatenateSequences(std::vector<boost::shared_ptr<Image>> const& parts,
                                           boost::shared_ptr<Image>& out);
    /// @}

    /// @{
    /// Joins disk images to a disk image over all their files.
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
