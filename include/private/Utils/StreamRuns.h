// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <fstream>
#include <optional>

namespace velmo {
namespace image {
namespace file {

/// The bytes of a run of pixels in a file; empty where 64 bits cannot count them.
struct ByteRun {
    std::optional<vlUInt64> offset;
    std::optional<vlUInt64> size;
};

ByteRun toByteRun(vlUInt64 planOffset, vlUInt64 pixelStartOffset, vlUInt64 nbPixels, vlUInt64 pixelSize);

enum class eStreamOutcome { Done, SeekFailed, TransferFailed };

/// One seek and one transfer of the whole run, straight between file and buffer. A failure leaves the stream
/// in its error state, in which every later seek fails.
eStreamOutcome readRun(std::fstream& stream, ByteRun const& run, void* buffer);
/// What it wrote is visible to every other stream when it returns.
eStreamOutcome writeRun(std::fstream& stream, ByteRun const& run, void const* buffer);

/// Makes a file at least `nbBytes` long by writing a zero as the last of them; 0 does nothing. Tells whether
/// the stream is good afterwards.
bool reserveBytes(std::fstream& stream, vlUInt64 nbBytes);

} // namespace file
} // namespace image
} // namespace velmo
