// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/GuardedRaise.h>
#include <boost/thread/mutex.hpp>

namespace velmo::image::file {

// LoggerMutex is locked before LoggerNameMutex. No other pair of these locks is held at the same time.

struct LoggerNameMutex {
    static boost::mutex& get();
};

struct ManagerMutex {
    static boost::mutex& get();
};

struct LoggerMutex {
    static boost::mutex& get();
};

/// How raiseGuarded raises errors of this module: logger, catalogue and exception class.
extern RaiseKind const g_velmoImageFileRaise;

/// Logs at ERROR in code that must not throw. Best effort: the record is dropped if logging fails.
void logWithoutThrow(RaiseSite const& site, FeedRef message) noexcept;

} // namespace velmo::image::file
