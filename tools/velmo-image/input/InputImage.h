// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputOptions.h"
#include "input/ObservedAccessor.h"

namespace velmo::tool {

/// An input that is open for reading.
struct InputImage {
    eFileFormat format;
    image::DiskImagePtr pImage; ///< as the file gives it: bytes not yet swapped
    vlUInt64 offset;            ///< of a raw file: bytes before the first plane
    bool bSwapBytes;
};

/// Throws the errors of the library.
InputImage openInput(boost::filesystem::path const& path, eFileFormat format,
                     InputDescription const& description);

/// The pixels of the input in the machine's byte order. The source co-owns the open file.
ObservedSource toSource(InputImage const& input);

} // namespace velmo::tool
