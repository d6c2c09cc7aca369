// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/InputOptions.h"
#include "input/ObservedAccessor.h"

namespace velmo::tool {

/// An input that is open for reading, and what is to be told of it.
struct InputImage {
    eFileFormat format;
    image::DiskImagePtr pImage; ///< as the file gives it: bytes not yet swapped
    vlUInt64 offset;            ///< of a raw file: bytes before the first plane
    bool bSwapBytes;
};

/// Failures have the library's words.
InputImage openInput(boost::filesystem::path const& path, eFileFormat format,
                     InputDescription const& description);

/// What the file holds otherwise than it was announced or expected, a sentence each.
std::vector<std::string> findWarnings(InputImage const& input);
/// Of these the one for an image whose least value is white; empty for any other image.
std::vector<std::string> findNegativeWarnings(image::BaseImage const& image);

/// The pixels of the input in the machine's byte order. The source co-owns the open file.
ObservedSource toSource(InputImage const& input);

} // namespace velmo::tool
