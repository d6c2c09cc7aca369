// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/VELMOImageFileLog.h>

#include "Frame/LogAccess.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <boost/thread/lock_guard.hpp>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

boost::mutex& LoggerNameMutex::get() {
    static boost::mutex mutex;
    return mutex;
}

boost::mutex& ManagerMutex::get() {
    static boost::mutex mutex;
    return mutex;
}

boost::mutex& LoggerMutex::get() {
    static boost::mutex mutex;
    return mutex;
}

LogMessageManager& getVELMOImageFileLogMessageManager() {
    boost::lock_guard<boost::mutex> const lock(ManagerMutex::get());
    static LogMessageManager* const g_velmoimagefileLogMessageManager =
        &LogMessageManager::getInstance("VELMOImageFile");
    return *g_velmoimagefileLogMessageManager;
}

std::string const& getVELMOImageFileLoggerName() {
    boost::lock_guard<boost::mutex> const lock(LoggerNameMutex::get());
    static std::string const g_velmoimagefileLoggerName = getBaseLoggerName() + ".VELMOImageFile";
    return g_velmoimagefileLoggerName;
}

log4cplus::Logger& getVELMOImageFileLogger() {
    boost::lock_guard<boost::mutex> const lock(LoggerMutex::get());
    static log4cplus::Logger g_velmoimagefileLogger =
        log4cplus::Logger::getInstance(getVELMOImageFileLoggerName());
    return g_velmoimagefileLogger;
}

RaiseKind const g_velmoImageFileRaise = {getVELMOImageFileLogMessageManager, getVELMOImageFileLogger,
                                         throwAs<VELMOImageFileException>};

void logWithoutThrow(RaiseSite const& site, FeedRef message) noexcept {
    try {
        logGuarded(site, g_velmoImageFileRaise, log4cplus::ERROR_LOG_LEVEL, message);
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace velmo::image::file
