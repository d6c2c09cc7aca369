// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/GuardedRaise.h"

namespace velmo {
namespace processor {

struct eProcessorMessage {
    enum domain {
        ePM_NotInitialised = 0, ///< processor, attribute
        ePM_ValueMissing = 1,   ///< processor, attribute
        ePM_ImageMismatch = 2   ///< attribute, sizes and type, attribute, sizes and type
    };
};

class VELMO_HOST_EXPORT VELMOBaseProcessingException : public BaseException {
  public:
    VELMOBaseProcessingException(std::string const& message, char const* function, char const* file,
                                 unsigned int line)
        : BaseException(message, function, file, line) {}
};

VELMO_HOST_EXPORT LogMessageManager& getVELMOBaseProcessingLogMessageManager();
VELMO_HOST_EXPORT log4cplus::Logger& getVELMOBaseProcessingLogger();
/// Failures of this library, for raiseGuarded.
VELMO_HOST_EXPORT extern RaiseKind const g_velmoBaseProcessingRaise;

} // namespace processor
} // namespace velmo
