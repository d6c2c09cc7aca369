// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

namespace velmo {

// For programs that do not configure log4cplus. Both functions act on the logger "VELMO", above all loggers
// of these libraries. Any thread may call them.

/// Turns the log off. Errors are still thrown or returned.
VELMO_HOST_EXPORT void silenceLog();

/// Prints warnings and errors to the standard error, one line for each record: level, logger, message. It
/// turns a log on again that `silenceLog` turned off. A second call has no effect.
VELMO_HOST_EXPORT void logToStandardError();

} // namespace velmo
