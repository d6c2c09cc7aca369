// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <sys/types.h>

namespace velmo::test {

/// Stops the first thread of a process of our own at its system calls.
class SyscallTrace {
  public:
    explicit SyscallTrace(pid_t pid);

    /// Not where the system forbids to trace.
    bool isAttached() const { return _bAttached; }

    /// Lets the process run to the next call with the path as an argument: the number of that call, which is
    /// not yet done, or -1 at the end of the process.
    long runToUseOf(std::string const& path);
    /// Lets a stopped process run on by itself.
    void detach();

  private:
    long getNumberOfCallWith(std::string const& path) const;

    pid_t _pid;
    bool _bAttached;
};

} // namespace velmo::test
