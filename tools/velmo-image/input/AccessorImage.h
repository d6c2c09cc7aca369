// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageAccessor.h>
#include <VELMOImageFile/PageReader.h>

namespace velmo::tool {

/// The accessor of a disk image; null for an image in memory.
boost::shared_ptr<image::BaseDiskImageAccessor> findAccessor(image::BaseImage const& image);
/// The accessor of a disk image, as far as it reads the channels of a page at once; otherwise null. The image
/// owns it.
image::file::BasePageReader const* findPageReader(image::BaseImage const& image);
/// The path of a disk image; empty for an image in memory.
boost::filesystem::path getPathOf(image::BaseImage const& image);

/// A disk image over an initialised accessor. Throws WorkFailure.
image::DiskImagePtr createDiskImage(boost::shared_ptr<image::BaseDiskImageAccessor> const& pAccessor);

} // namespace velmo::tool
