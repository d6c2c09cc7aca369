// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputImage.h"

#include "input/Im6Input.h"
#include "input/InputFile.h"
#include "input/TiffCheck.h"
#include "terminal/Interrupt.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::tool {

namespace {

image::DiskImagePtr openTiffInput(boost::filesystem::path const& path,
                                  image::file::TiffReadOptions const& options) {
    try {
        return image::file::openTiffImageFile(path, options);
    } catch (BaseException const&) {
        throwIfInterrupted(); // which may be why it failed
        throw;
    }
}

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

std::vector<std::string> findFormatWarnings(InputImage const& input) {
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
    std::vector<std::string> warnings = findFormatWarnings(input);
    std::vector<std::string> const negative = findNegativeWarnings(*input.pImage);
    warnings.insert(warnings.end(), negative.begin(), negative.end());
    return warnings;
}

std::vector<std::string> findNegativeWarnings(image::BaseImage const& image) {
    if (image.getGeometry().getColorGeometry().minIsBlack()) {
        return {};
    }
    return {"the least value is white: a copy has the same values, and other programs show it as a negative"};
}

ObservedSource toSource(InputImage const& input) {
    return {input.pImage, input.bSwapBytes, input.format == eFileFormat::Tiff};
}

} // namespace velmo::tool
