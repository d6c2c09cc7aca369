// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <log4cplus/logger.h>
#include <string>

namespace velmo {

class LogMessageManager;

/// Name of the parent of all loggers of the framework's libraries: "VELMO".
VELMO_HOST_EXPORT std::string const& getBaseLoggerName();
/// The logger of that name. Its level and appenders apply to all libraries of the framework.
VELMO_HOST_EXPORT log4cplus::Logger& getBaseLogger();

/// Logs a message with file and line, whether or not the level is enabled.
VELMO_HOST_EXPORT void logMessage(log4cplus::Logger& logger, int const& level, std::string const& message,
                                  std::string const& file, int line);

/// Message manager and logger of one library of the host. Thread-safe.
class LibraryLog {
  public:
    /// The logger is a child of the base logger with the name of the library.
    explicit LibraryLog(std::string const& libraryName);
    /// @{
    /// They exist until the process ends.
    LogMessageManager& getManager() { return _manager; }
    log4cplus::Logger& getLogger() { return _logger; }
    /// @}

  private:
    LogMessageManager& _manager;
    log4cplus::Logger _logger;
};

} // namespace velmo
