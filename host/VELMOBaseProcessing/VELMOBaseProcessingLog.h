// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo::processor {

/// Failures of processors.
struct eProcessorMessage {
    /// With the arguments of each text.
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

/// A processor refuses a value, or has no result. Logged when it was thrown.
class VELMO_HOST_EXPORT VELMOBaseProcessingException : public BaseException {
  public:
    /// `function`, `file` and `line` are those of the raise.
    VELMOBaseProcessingException(std::string const& message, char const* function, char const* file,
                                 unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// @{
/// Texts and logger of this library; built at first use, and there to the end of the process. Any thread.
VELMO_HOST_EXPORT LogMessageManager& getVELMOBaseProcessingLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOBaseProcessingLogger();
/// @}
/// Failures of this library, for raiseGuarded.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoBaseProcessingRaise;

} // namespace velmo::processor
