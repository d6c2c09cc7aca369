// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cerrno>
#include <fstream>
#include <optional>

namespace velmo::image::file {

/// The bytes of a run of pixels in a file; empty where 64 bits cannot count them.
struct ByteRun {
    std::optional<vlUInt64> offset;
    std::optional<vlUInt64> size;
};

ByteRun toByteRun(vlUInt64 planeOffset, vlUInt64 pixelStartOffset, vlUInt64 nbPixels, vlUInt64 pixelSize);

enum class eStreamOutcome { Done, SeekFailed, TransferFailed };

/// Keeps `errno` over what is done after a failed call, such as making a message of it.
class ErrnoGuard {
  public:
    ErrnoGuard() = default;
    ~ErrnoGuard() { errno = _error; }
    ErrnoGuard(ErrnoGuard const&) = delete;
    ErrnoGuard& operator=(ErrnoGuard const&) = delete;

  private:
    int const _error = errno;
};

/// One seek and one transfer of the whole run, straight between file and buffer. A failure leaves the stream
/// in its error state, in which every later seek fails. After a failure `errno` is the reason of the system,
/// or 0 where the system did not fail: at the end of the file, or in a stream that failed before.
eStreamOutcome readRun(std::fstream& stream, ByteRun const& run, void* buffer);
/// What it wrote is visible to every other stream when it returns.
eStreamOutcome writeRun(std::fstream& stream, ByteRun const& run, void const* buffer);

/// Makes a file at least `nbBytes` long by writing a zero as the last of them; 0 does nothing. Returns
/// whether the stream is good afterwards; `errno` is as after `writeRun`.
bool reserveBytes(std::fstream& stream, vlUInt64 nbBytes);

} // namespace velmo::image::file
