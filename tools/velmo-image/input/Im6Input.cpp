// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/Im6Input.h"

#include "terminal/Failure.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::tool {

namespace {

using namespace image;

constexpr vlUInt64 g_headerSize = 116;

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
    } catch (VELMOImageException const& failure) { // which does not say of what file
        throw WorkFailure(quoted(path.string()) + ": " + failure.what());
    }
    DiskImagePtr pImage;
    require(ImageFactory::getInstance().createDiskImage(pAccessor, pImage));
    return pImage;
}

std::vector<std::string> findIm6Warnings(DiskImage const& image) {
    boost::system::error_code error;
    vlUInt64 const fileSize = boost::filesystem::file_size(image.getAccessor()->getFilePath(), error);
    vlUInt64 const nbBytes = image.getGeometry().getFullMemorySize();
    if (error || (fileSize >= g_headerSize && fileSize - g_headerSize >= nbBytes)) {
        return {};
    }
    return {"the file ends before its last plane: its header tells of " + std::to_string(nbBytes) +
            " bytes of pixels, and it holds " +
            std::to_string(fileSize < g_headerSize ? 0 : fileSize - g_headerSize)};
}

} // namespace velmo::tool
