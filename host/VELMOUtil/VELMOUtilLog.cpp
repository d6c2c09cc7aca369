// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/VELMOUtilLog.h"

#include "VELMOUtil/LogMessageManager.h"
#include "VELMOUtil/Logging.h"

namespace velmo {

namespace {

LibraryLog& getLog() {
    static LibraryLog log("VELMOUtil");
    return log;
}

bool registerMessages() {
    using Message = eVELMOUtilErrors;
    LogMessageManager& manager = getVELMOUtilLogMessageManager();
    manager.addMessage(Message::eVUE_CopyNotSupported, "Objects of class %s cannot be copied");
    manager.addMessage(Message::eVUE_CopyFromOtherClass, "An object of class %s cannot be a copy of a %s");
    return true;
}

bool const g_bMessagesRegistred = registerMessages();

} // namespace

LogMessageManager& getVELMOUtilLogMessageManager() {
    return getLog().getManager();
}

log4cplus::Logger& getVELMOUtilLogger() {
    return getLog().getLogger();
}

RaiseKind const g_velmoUtilRaise = {getVELMOUtilLogMessageManager, getVELMOUtilLogger,
                                    throwAs<VELMOUtilException>};

} // namespace velmo
