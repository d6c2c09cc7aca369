// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo::processor {

/// Errors of processors.
struct eProcessorMessage {
    /// Message ids, each with the arguments of its text.
    enum domain {
        ePM_NotInitialised = 0, ///< processor, attribute
        ePM_ValueMissing = 1,   ///< processor, attribute
        ePM_ImageMismatch = 2,  ///< attribute, sizes and type, attribute, sizes and type
        ePM_StepRefused = 3,    ///< attribute, index of the step, its value
        ePM_StepsCount = 4,     ///< attribute, number of steps, attribute, number of planes
        ePM_ValueRefused = 5,   ///< attribute, value
        ePM_NoResult = 6,       ///< attribute, processor, text of the failure
        ePM_TypesDiffer = 7,    ///< attribute, plane, its pixel type
        ePM_RunFailed = 8       ///< processor, text of the failure
    };
};

/// Thrown when a processor rejects a value or has no result. Already logged.
class VELMO_HOST_EXPORT VELMOBaseProcessingException : public BaseException {
  public:
    /// `function`, `file` and `line` are the place of the raise.
    VELMOBaseProcessingException(std::string const& message, char const* function, char const* file,
                                 unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Message manager and logger of this library. Created at first use; they exist until the process ends.
/// Thread-safe.
VELMO_HOST_EXPORT LogMessageManager& getVELMOBaseProcessingLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOBaseProcessingLogger();
/// @}
/// The exceptions of this library, for `raiseMessage` and `raiseGuarded`.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoBaseProcessingRaise;

} // namespace velmo::processor
