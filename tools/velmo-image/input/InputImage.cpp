// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputImage.h"

#include "input/Im6Input.h"
#include "input/InputFile.h"
#include "input/RawFit.h"
#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <VELMOBase/CheckedArithmetic.h>
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

vlUInt64 addOffsets(vlUInt64 left, vlUInt64 right) {
    auto const sum = checkedAdd(left, right);
    if (!sum) {
        throw WorkFailure("the offset and the dimensions need more bytes than 64 bits can count");
    }
    return *sum;
}

/// Opens a raw file. The text of a failure ends with options that would fit its size, if there are any.
image::DiskImagePtr openRawFile(boost::filesystem::path const& file, image::BaseImageGeometry const& geometry,
                                vlUInt64 offset) {
    try {
        return image::file::openRawImageFile(file, geometry, offset);
    } catch (BaseException const& failure) {
        boost::system::error_code error;
        vlUInt64 const size = boost::filesystem::file_size(file, error);
        std::string const fit = error ? std::string() : proposeFit(geometry, offset, size);
        if (fit.empty()) {
            throw;
        }
        throw WorkFailure(getFullText(failure) + "\nThe size of the file would fit with " + fit);
    }
}

InputImage openRawInput(boost::filesystem::path const& path, InputDescription const& description) {
    RawDescription const& raw = description.raw;
    boost::filesystem::path const file = toInputPath(path);
    requireReadable(file);
    image::ImageGeometryPtr const pGeometry = raw.createGeometry();
    if (isStreamedInput(path)) {
        vlUInt64 const nbBytes = pGeometry->getFullMemorySize();
        addOffsets(raw.offset, nbBytes);
        auto const pStream =
            std::make_shared<StreamedInput const>(path, raw.offset, nbBytes, description.bQuiet);
        return {eFileFormat::Raw, image::file::openRawImageFile(pStream->getPath(), *pGeometry, 0), 0,
                raw.bSwapBytes, pStream};
    }
    vlUInt64 const offset = addOffsets(raw.offset, getInputPosition(path));
    return {eFileFormat::Raw, openRawFile(file, *pGeometry, offset), offset, raw.bSwapBytes, nullptr};
}

} // namespace

InputImage openInput(boost::filesystem::path const& path, eFileFormat format,
                     InputDescription const& description) {
    if (format == eFileFormat::Raw) {
        return openRawInput(path, description);
    }
    if (isStandardInput(path) && isStreamedInput(path)) {
        throw WorkFailure(
            "cannot read " + quoted(path.string()) +
            ": TIFF and Im6 files are read only from a file, a pipe is not seekable; it can have "
            "raw planes, with --size and --type");
    }
    boost::filesystem::path const file = toInputPath(path);
    return {format, format == eFileFormat::Tiff ? openTiffInput(file, description.tiff) : openIm6Input(file),
            0, false, nullptr};
}

ObservedSource toSource(InputImage const& input) {
    return {input.pImage, input.bSwapBytes, input.format == eFileFormat::Tiff};
}

} // namespace velmo::tool
