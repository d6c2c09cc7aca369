// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <string>

namespace log4cplus {
class Logger;
}

namespace velmo {

class LogMessageManager;

namespace image::file {

/// @file
/// The log of this module. Each is built at first use and lives to the end of the process; any thread may
/// call them.

/// The texts of all messages of this module, by domain and id.
VELMO_IMAGE_FILE_EXPORT LogMessageManager& getVELMOImageFileLogMessageManager();
/// The base logger's name followed by ".VELMOImageFile", so that the configuration of the base logger
/// applies.
VELMO_IMAGE_FILE_EXPORT std::string const& getVELMOImageFileLoggerName();
/// The logger of every failure that this module throws, at ERROR. Include <log4cplus/logger.h> to use it.
VELMO_IMAGE_FILE_EXPORT log4cplus::Logger& getVELMOImageFileLogger();

} // namespace image::file
} // namespace velmo
