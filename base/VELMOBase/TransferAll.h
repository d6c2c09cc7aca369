// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cerrno>
#include <cstdint>
#include <sys/types.h>

namespace velmo {

/// What `transferAll` moved.
struct Transferred {
    std::uint64_t nbBytes; ///< fewer than requested at the end of a file and after an error
    int error;             ///< the value of `errno` after an error, else 0
};

/// Repeats a system call until it has moved all bytes, moves none, or fails. A call that a signal interrupts
/// is repeated. `transfer(done)` makes one call for the bytes after the first `done` ones and returns its
/// result.
template <class Transfer>
Transferred transferAll(std::uint64_t nbBytes, Transfer const& transfer) {
    Transferred moved = {0, 0};
    while (moved.nbBytes < nbBytes && moved.error == 0) {
        ssize_t const result = transfer(moved.nbBytes);
        if (result > 0) {
            moved.nbBytes += static_cast<std::uint64_t>(result);
        } else if (result == 0) {
            break;
        } else if (errno != EINTR) {
            moved.error = errno;
        }
    }
    return moved;
}

} // namespace velmo
