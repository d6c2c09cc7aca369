// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"

#include "VELMOUtil/LogMessageManager.h"
#include "VELMOUtil/Logging.h"

namespace velmo::processor {

namespace {

LibraryLog& getLog() {
    static LibraryLog log("VELMOBaseProcessing");
    return log;
}

bool registerMessages() {
    using Message = eProcessorMessage;
    LogMessageManager& manager = getVELMOBaseProcessingLogMessageManager();
    manager.addMessage(Message::ePM_NotInitialised, "Processor %s takes no value for %s before its init");
    manager.addMessage(Message::ePM_ValueMissing, "Processor %s needs a value for %s");
    manager.addMessage(Message::ePM_ImageMismatch, "The pixels of %s (%s) do not fit those of %s (%s)");
    manager.addMessage(Message::ePM_StepRefused,
                       "%s holds a step that is not positive and finite: step %d is %s");
    manager.addMessage(Message::ePM_StepsCount, "%s of %d steps does not fit %s of %d planes");
    manager.addMessage(Message::ePM_ValueRefused, "%s cannot be %d");
    manager.addMessage(Message::ePM_NoResult, "There is no %s, as processor %s did not run to its end%s");
    manager.addMessage(Message::ePM_TypesDiffer,
                       "%s has planes of different pixel types: plane z=%d is of type %s");
    manager.addMessage(Message::ePM_RunFailed, "Processor %s failed, and its result was not looked at\n%s");
    return true;
}

bool const g_bMessagesRegistred = registerMessages();

} // namespace

LogMessageManager& getVELMOBaseProcessingLogMessageManager() {
    return getLog().getManager();
}

log4cplus::Logger& getVELMOBaseProcessingLogger() {
    return getLog().getLogger();
}

RaiseKind const g_velmoBaseProcessingRaise = {getVELMOBaseProcessingLogMessageManager,
                                              getVELMOBaseProcessingLogger,
                                              throwAs<VELMOBaseProcessingException>};

} // namespace velmo::processor
