// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffInput.h"

#include "Failure.h"
#include "Interrupt.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <boost/make_shared.hpp>

namespace velmo {
namespace tool {

namespace {

using namespace image;

void require(BoolResult const& result) {
    if (!result) {
        throwIfInterrupted();
        throw WorkFailure(result.getMessage());
    }
}

} // namespace

DiskImagePtr openTiffInput(boost::filesystem::path const& path, TiffDescription const& description) {
    auto const pAccessor = boost::make_shared<file::TiffImageFile>();
    std::string userProperties;
    require(pAccessor->openFile(path, eIAM_ReadOnly, description.directoryMode, description.bufferMode,
                                userProperties));
    DiskImagePtr pImage;
    require(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    pImage->setUserPropertiesStr(userProperties);
    return pImage;
}

} // namespace tool
} // namespace velmo
