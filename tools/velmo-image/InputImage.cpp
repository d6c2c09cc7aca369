// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "InputImage.h"

#include "Failure.h"
#include "ObservedAccessor.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo {
namespace tool {

InputImage openInput(boost::filesystem::path const& path, RawDescription const& raw) {
    return {image::file::openRawImageFile(path, *raw.createGeometry(), raw.offset), raw.offset,
            raw.bSwapBytes};
}

std::vector<std::string> findWarnings(InputImage const& input) {
    boost::system::error_code error;
    vlUInt64 const fileSize = boost::filesystem::file_size(input.pImage->getAccessor()->getFilePath(), error);
    vlUInt64 const nbBytes = input.pImage->getGeometry().getFullMemorySize();
    if (error || fileSize <= input.offset || fileSize - input.offset <= nbBytes) {
        return {};
    }
    return {"the file is longer than its geometry: " + std::to_string(fileSize - input.offset - nbBytes) +
            " bytes behind the last plane are not read"};
}

image::DiskImagePtr observeInput(InputImage const& input, Progress& progress) {
    image::DiskImagePtr pObserved;
    BoolResult const result = image::ImageFactory::getInstance().createDiskImage(
        boost::make_shared<ObservedAccessor>(input.pImage, input.bSwapBytes, progress), pObserved);
    if (!result) {
        throw WorkFailure(result.getMessage());
    }
    pObserved->setUserPropertiesStr(input.pImage->getUserPropertiesStr());
    return pObserved;
}

} // namespace tool
} // namespace velmo
