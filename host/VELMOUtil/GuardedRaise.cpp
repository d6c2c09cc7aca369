// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/GuardedRaise.h"

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/LogMessageFormater.h"
#include "VELMOUtil/Logging.h"

#include <cstdlib>
#include <log4cplus/loggingmacros.h>

namespace velmo {

namespace {

/// Of this thread, how many UnloggedRaises live.
thread_local unsigned int t_nbUnlogged = 0;

template <class Cause>
[[noreturn]] void throwGuardFailure(RaiseSite const& site, Cause const& cause) {
    std::string const text("Exception thrown while processing message");
    log4cplus::Logger& logger = getBaseLogger();
    if (t_nbUnlogged == 0 && logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL)) {
        log4cplus::tostringstream& os = log4cplus::detail::get_macro_body_oss();
        os << text;
        log4cplus::detail::macro_forced_log(logger, log4cplus::ERROR_LOG_LEVEL, os.str(), site.file,
                                            static_cast<int>(site.line), site.function);
    }
    throw BaseException(text, site.function, site.file, site.line, cause);
}

template <class Work>
void guard(RaiseSite const& site, Work const& work) {
    try {
        work();
    } catch (BaseException& cause) {
        throwGuardFailure<BaseException>(site, cause);
    } catch (std::exception& cause) {
        throwGuardFailure<std::exception>(site, cause);
    } catch (...) {
        throwGuardFailure<BaseException>(
            site, UnHandleException("Unknown exception", site.function, site.file, site.line));
    }
}

template <class GetText>
void logRecord(RaiseSite const& site, RaiseKind const& kind, int level, GetText const& getText) {
    log4cplus::Logger logger = kind.getLogger();
    if (!logger.isEnabledFor(level)) {
        return;
    }
    LogMessageFormater record(kind.getManager());
    record.getStream() << getText();
    logMessage(logger, level, record.string(), site.file, static_cast<int>(site.line));
}

void select(LogMessageFormater& formater, FeedRef feed) {
    feed(formater);
    formater.requireAllFed();
}

} // namespace

UnloggedRaises::UnloggedRaises() {
    ++t_nbUnlogged;
}

UnloggedRaises::~UnloggedRaises() {
    --t_nbUnlogged;
}

void raiseGuarded(RaiseSite const& site, RaiseKind const& kind, FeedRef feed) {
    LogMessageFormater formater(kind.getManager());
    guard(site, [&] { select(formater, feed); });
    if (t_nbUnlogged == 0) {
        guard(site,
              [&] { logRecord(site, kind, log4cplus::ERROR_LOG_LEVEL, [&] { return formater.string(); }); });
    }
    kind.throwAs(formater.string(), site, formater.getMessageIds());
    std::abort(); // a kind that returns breaks its contract
}

void logGuarded(RaiseSite const& site, RaiseKind const& kind, int level, FeedRef feed) {
    guard(site, [&] {
        logRecord(site, kind, level, [&] {
            LogMessageFormater formater(kind.getManager());
            select(formater, feed);
            return formater.string();
        });
    });
}

} // namespace velmo
