// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cerrno>
#include <fstream>
#include <optional>

namespace velmo::image::file {

/// The bytes of a run of pixels in a file. A member is empty if its value overflows 64 bits.
struct ByteRun {
    std::optional<vlUInt64> offset;
    std::optional<vlUInt64> size;
};

ByteRun toByteRun(vlUInt64 planeOffset, vlUInt64 pixelStartOffset, vlUInt64 nbPixels, vlUInt64 pixelSize);

enum class eStreamOutcome { Done, SeekFailed, TransferFailed };

/// Restores `errno` at the end of the scope, so that the code after a failed call, such as the creation of a
/// message, does not change it.
class ErrnoGuard {
  public:
    ErrnoGuard() = default;
    ~ErrnoGuard() { errno = _error; }
    ErrnoGuard(ErrnoGuard const&) = delete;
    ErrnoGuard& operator=(ErrnoGuard const&) = delete;

  private:
    int const _error = errno;
};

/// Reads a whole run with one seek and one transfer directly into the buffer. A failure leaves the stream in
/// its error state, in which every later seek fails. After a failure `errno` is the error of the operating
/// system, or 0 if there was none: at the end of the file, or if the stream failed before.
eStreamOutcome readRun(std::fstream& stream, ByteRun const& run, void* buffer);
/// Writes a run in the same way. All other streams see the bytes when it returns.
eStreamOutcome writeRun(std::fstream& stream, ByteRun const& run, void const* buffer);

/// Extends a file to at least `nbBytes` by writing a zero as its last byte; 0 does nothing. Returns whether
/// the stream is good afterwards. `errno` is set as by `writeRun`.
bool reserveBytes(std::fstream& stream, vlUInt64 nbBytes);

} // namespace velmo::image::file
