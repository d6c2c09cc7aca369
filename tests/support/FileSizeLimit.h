// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "SoftLimit.h"

#include <csignal>

namespace velmo::test {

/// Limits the files that are written by this process, which the signal does not end, and by those that are
/// started while it lives: these have the signal as it is without a handler.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t nbBytes)
        : _earlierHandler(std::signal(SIGXFSZ, [](int) {})), _limit(RLIMIT_FSIZE, nbBytes) {}
    ~FileSizeLimit() { std::signal(SIGXFSZ, _earlierHandler); }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

  private:
    void (*_earlierHandler)(int);
    SoftLimit _limit;
};

} // namespace velmo::test
