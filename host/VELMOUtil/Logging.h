// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <log4cplus/logger.h>
#include <string>

namespace velmo {

class LogMessageManager;

/// Name of the logger above all loggers of the framework's libraries: "VELMO".
VELMO_HOST_EXPORT std::string const& getBaseLoggerName();
/// The logger of that name: its level and appenders hold for all libraries of the framework.
VELMO_HOST_EXPORT log4cplus::Logger& getBaseLogger();

/// Writes one record: the message with the place it comes from. Does not ask whether the level is enabled.
VELMO_HOST_EXPORT void logMessage(log4cplus::Logger& logger, int const& level, std::string const& message,
                                  std::string const& file, int line);

/// Message manager and logger of one library of the host, built at first use; safe from any thread.
class LibraryLog {
  public:
    /// The logger stands below the base logger, under the name of the library.
    explicit LibraryLog(std::string const& libraryName);
    /// @{
    /// Live to the end of the process.
    LogMessageManager& getManager() { return _manager; }
    log4cplus::Logger& getLogger() { return _logger; }
    /// @}

  private:
    LogMessageManager& _manager;
    log4cplus::Logger _logger;
};

} // namespace velmo
