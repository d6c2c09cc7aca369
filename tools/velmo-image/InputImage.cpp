// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "InputImage.h"

#include "Im6Input.h"
#include "InputFile.h"
#include "TiffCheck.h"
#include "TiffInput.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>

namespace velmo {
namespace tool {

namespace {

std::vector<std::string> findRawWarnings(InputImage const& input) {
    boost::system::error_code error;
    vlUInt64 const fileSize = boost::filesystem::file_size(input.pImage->getAccessor()->getFilePath(), error);
    vlUInt64 const nbBytes = input.pImage->getGeometry().getFullMemorySize();
    if (error || fileSize <= input.offset || fileSize - input.offset <= nbBytes) {
        return {};
    }
    return {"the file is longer than its geometry: " + std::to_string(fileSize - input.offset - nbBytes) +
            " bytes behind the last plane are not read"};
}

} // namespace

InputImage openInput(boost::filesystem::path const& path, eFileFormat format,
                     InputDescription const& description) {
    if (format == eFileFormat::Tiff) {
        return {format, openTiffInput(path, description.tiff), 0, false};
    }
    if (format == eFileFormat::Im6) {
        return {format, openIm6Input(path), 0, false};
    }
    requireReadable(path);
    RawDescription const& raw = description.raw;
    return {format, image::file::openRawImageFile(path, *raw.createGeometry(), raw.offset), raw.offset,
            raw.bSwapBytes};
}

std::vector<std::string> findWarnings(InputImage const& input) {
    switch (input.format) {
    case eFileFormat::Tiff:
        return findTiffWarnings(*input.pImage);
    case eFileFormat::Im6:
        return findIm6Warnings(*input.pImage);
    case eFileFormat::Raw:
        break;
    }
    return findRawWarnings(input);
}

ObservedSource toSource(InputImage const& input) {
    return {input.pImage, "file " + input.pImage->getAccessor()->getFilePath().string(), input.bSwapBytes,
            input.format == eFileFormat::Tiff};
}

} // namespace tool
} // namespace velmo
