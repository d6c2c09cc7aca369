// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo {

/// Errors of objects.
struct eVELMOUtilErrors {
    /// Message ids, each with the arguments of its text.
    enum domain {
        eVUE_CopyNotSupported = 3,  ///< class name
        eVUE_CopyFromOtherClass = 4 ///< class name of the target, class name of the source
    };
};

/// Thrown when an object cannot be copied. Already logged.
class VELMO_HOST_EXPORT VELMOUtilException : public BaseException {
  public:
    /// `function`, `file` and `line` are the place of the raise.
    VELMOUtilException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Message manager and logger of this library. Created at first use; they exist until the process ends.
/// Thread-safe.
VELMO_HOST_EXPORT LogMessageManager& getVELMOUtilLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOUtilLogger();
/// @}
/// The exceptions of this library, for `raiseMessage` and `raiseGuarded`.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoUtilRaise;

} // namespace velmo
