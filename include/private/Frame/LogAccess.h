// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/GuardedRaise.h>
#include <boost/thread/mutex.hpp>

namespace velmo::image::file {

// The locks of the module's log. Each is built at load, so that no thread races on its construction.
// LoggerMutex is taken before LoggerNameMutex, and nothing else nests.

struct LoggerNameMutex {
    static boost::mutex& get();
};

struct ManagerMutex {
    static boost::mutex& get();
};

struct LoggerMutex {
    static boost::mutex& get();
};

/// Failures of this module, for raiseGuarded.
extern RaiseKind const g_velmoImageFileRaise;

/// Writes a record at ERROR where nothing may be thrown; where that fails, for want of memory say, there is
/// none.
void logWithoutThrow(RaiseSite const& site, FeedRef message) noexcept;

} // namespace velmo::image::file
