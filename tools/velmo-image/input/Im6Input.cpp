// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/Im6Input.h"

#include "terminal/Failure.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <boost/make_shared.hpp>

namespace velmo::tool {

namespace {

using namespace image;

void require(BoolResult const& result) {
    if (!result) {
        throw WorkFailure(result.getMessage());
    }
}

} // namespace

DiskImagePtr openIm6Input(boost::filesystem::path const& path) {
    auto const pAccessor = boost::make_shared<file::Im6ImageFile>();
    try {
        require(pAccessor->openFile(path, eIAM_ReadOnly));
    } catch (VELMOImageException const& failure) { // which does not name the file
        throw WorkFailure(quoted(path.string()) + ": " + failure.what());
    }
    DiskImagePtr pImage;
    require(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    return pImage;
}

} // namespace velmo::tool
