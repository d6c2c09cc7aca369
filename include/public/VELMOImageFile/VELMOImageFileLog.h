// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/LogOutput.h>
#include <string>

namespace log4cplus {
class Logger;
}

namespace velmo {

class LogMessageManager;

namespace image::file {

/// @file
/// The log of this module. Its logger is a child of "VELMO", the logger of all libraries of the framework.
/// `silenceLog` and `logToStandardError` of VELMOUtil/LogOutput.h turn these logs off or print them; for any
/// other configuration use log4cplus. All objects exist until the process ends. Thread-safe.

/// The texts of all messages of this module, by domain key and id.
VELMO_IMAGE_FILE_EXPORT LogMessageManager& getVELMOImageFileLogMessageManager();
/// Name of the logger of this module, "VELMO.VELMOImageFile".
VELMO_IMAGE_FILE_EXPORT std::string const& getVELMOImageFileLoggerName();
/// The logger to which this module writes every error that it throws, at ERROR, and its warnings, at WARN. To
/// use it, include <log4cplus/logger.h>.
VELMO_IMAGE_FILE_EXPORT log4cplus::Logger& getVELMOImageFileLogger();

} // namespace image::file
} // namespace velmo
