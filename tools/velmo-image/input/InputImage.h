// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputOptions.h"
#include "input/ObservedAccessor.h"
#include "input/StreamedInput.h"

#include <memory>

namespace velmo::tool {

/// An input that is open for reading.
struct InputImage {
    eFileFormat format;
    image::DiskImagePtr pImage; ///< as the file gives it: bytes not yet swapped
    vlUInt64 offset;            ///< of a raw file: bytes before the first plane
    bool bSwapBytes;
    std::shared_ptr<StreamedInput const> pStream =
        nullptr; ///< the file of `pImage`; null unless a pipe was read
};

/// Opens a file; "-" is the standard input. A pipe is read to the last pixel first. Throws the errors of the
/// library, and WorkFailure for a pipe that ends too early or whose format needs a seekable file.
InputImage openInput(boost::filesystem::path const& path, eFileFormat format,
                     InputDescription const& description);

/// The pixels of the input in the machine's byte order. The source co-owns the open file.
ObservedSource toSource(InputImage const& input);

} // namespace velmo::tool
