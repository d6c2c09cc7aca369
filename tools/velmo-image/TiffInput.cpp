// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffInput.h"

#include "Failure.h"
#include "Interrupt.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <boost/make_shared.hpp>
#include <tiffio.h>

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

void captureTiffMessages() {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    // The library listens to libtiff from its first failure on, whose own words would be lost: so it is this
    // one, of a file without a name.
    std::string userProperties;
    file::TiffImageFile().openFile({}, eIAM_ReadOnly, file::eTDM_Volume, file::eTBM_Default, userProperties);
}

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
