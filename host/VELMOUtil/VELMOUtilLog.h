// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo {

/// Failures of objects and of files.
struct eVELMOUtilErrors {
    /// With the arguments of each text.
    enum domain {
        eVUE_CopyNotSupported = 3,  ///< class name
        eVUE_CopyFromOtherClass = 4 ///< class name of the target, class name of the source
    };
};

/// An object cannot be copied. Logged when it was thrown.
class VELMO_HOST_EXPORT VELMOUtilException : public BaseException {
  public:
    /// `function`, `file` and `line` are those of the raise.
    VELMOUtilException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Texts and logger of this library; built at first use, and there to the end of the process. Any thread.
VELMO_HOST_EXPORT LogMessageManager& getVELMOUtilLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOUtilLogger();
/// @}
/// Failures of this library, for raiseGuarded.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoUtilRaise;

} // namespace velmo
