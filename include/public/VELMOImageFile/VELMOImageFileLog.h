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
/// The log of this module. It belongs to the log of the libraries, whose logger is "VELMO": `silenceLog` and
/// `logToStandardError` of VELMOUtil/LogOutput.h turn all of it off or print it; log4cplus configures it in
/// every other way. All objects live to the end of the process. Any thread may call the functions.

/// The texts of all messages of this module, by domain key and id.
VELMO_IMAGE_FILE_EXPORT LogMessageManager& getVELMOImageFileLogMessageManager();
/// Name of the logger of this module, "VELMO.VELMOImageFile".
VELMO_IMAGE_FILE_EXPORT std::string const& getVELMOImageFileLoggerName();
/// The logger to which this module writes every error that it throws, at ERROR, and its warnings, at WARN. To
/// use it, include <log4cplus/logger.h>.
VELMO_IMAGE_FILE_EXPORT log4cplus::Logger& getVELMOImageFileLogger();

} // namespace image::file
} // namespace velmo
