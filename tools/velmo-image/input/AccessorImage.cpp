// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/AccessorImage.h"

#include "terminal/Failure.h"

#include <VELMOImage/ImageFactory.h>

namespace velmo::tool {

boost::shared_ptr<image::BaseDiskImageAccessor> findAccessor(image::BaseImage const& image) {
    auto const* const pDiskImage = dynamic_cast<image::DiskImage const*>(&image);
    return pDiskImage != nullptr ? pDiskImage->getAccessor() : nullptr;
}

image::file::BasePageReader const* findPageReader(image::BaseImage const& image) {
    return dynamic_cast<image::file::BasePageReader const*>(findAccessor(image).get());
}

boost::filesystem::path getPathOf(image::BaseImage const& image) {
    auto const pAccessor = findAccessor(image);
    return pAccessor ? pAccessor->getFilePath() : boost::filesystem::path();
}

image::DiskImagePtr createDiskImage(boost::shared_ptr<image::BaseDiskImageAccessor> const& pAccessor) {
    image::DiskImagePtr pImage;
    BoolResult const result = image::ImageFactory::getInstance().createDiskImage(pAccessor, pImage);
    if (!result) {
        throw WorkFailure(result.getMessage());
    }
    return pImage;
}

} // namespace velmo::tool
