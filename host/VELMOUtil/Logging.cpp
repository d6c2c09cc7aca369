// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/Logging.h"

#include "VELMOUtil/LogMessageManager.h"

namespace velmo {

std::string const& getBaseLoggerName() {
    static std::string const name("VELMO");
    return name;
}

log4cplus::Logger& getBaseLogger() {
    static log4cplus::Logger logger = log4cplus::Logger::getInstance(getBaseLoggerName());
    return logger;
}

void logMessage(log4cplus::Logger& logger, int const& level, std::string const& message,
                std::string const& file, int line) {
    logger.forcedLog(level, message, file.c_str(), line);
}

// The base logger comes first: made later, it would be set above loggers that other threads write to.
LibraryLog::LibraryLog(std::string const& libraryName)
    : _manager(LogMessageManager::getInstance(libraryName)),
      _logger(log4cplus::Logger::getInstance(getBaseLogger().getName() + "." + libraryName)) {}

} // namespace velmo
