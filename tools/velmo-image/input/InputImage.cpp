// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputImage.h"

#include "input/Im6Input.h"
#include "input/InputFile.h"
#include "terminal/Interrupt.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>

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

ObservedSource toSource(InputImage const& input) {
    return {input.pImage, input.bSwapBytes, input.format == eFileFormat::Tiff};
}

} // namespace velmo::tool
