// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/LogOutput.h"

#include "VELMOUtil/Logging.h"

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/loglevel.h>
#include <memory>

namespace velmo {

namespace {

log4cplus::SharedAppenderPtr makeAppender() {
    constexpr bool bStandardError = true;
    constexpr bool bFlush = true;
    log4cplus::SharedAppenderPtr pAppender(new log4cplus::ConsoleAppender(bStandardError, bFlush));
    pAppender->setLayout(std::make_unique<log4cplus::PatternLayout>("%p %c: %m%n"));
    return pAppender;
}

} // namespace

void silenceLog() {
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
}

void logToStandardError() {
    static bool const bAdded = (getBaseLogger().addAppender(makeAppender()), true);
    static_cast<void>(bAdded);
    getBaseLogger().setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

} // namespace velmo
