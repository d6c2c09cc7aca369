// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/GuardedRaise.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <log4cplus/loglevel.h>

namespace velmo {

// Failures with message `id` of the catalogue of `kind`, whose arguments are given in the order of its
// placeholders.

/// A false result with the message. Nothing is logged. Throws what LogMessageFormater throws for an unknown
/// id and for too many arguments.
template <class Domain, class... Arguments>
BoolResult failMessage(RaiseKind const& kind, Domain id, Arguments const&... arguments) {
    LogMessageFormater formater(kind.getManager());
    formater[id];
    static_cast<void>((formater % ... % arguments));
    return failure(formater);
}

/// Logs the message at ERROR and throws it as the exception of `kind`, with `site` (see `raiseGuarded`).
template <class Domain, class... Arguments>
[[noreturn]] void raiseMessage(RaiseSite const& site, RaiseKind const& kind, Domain id,
                               Arguments const&... arguments) {
    raiseGuarded(site, kind, [&](LogMessageFormater& formater) {
        formater[id];
        static_cast<void>((formater % ... % arguments));
    });
}

/// Logs the message at WARN, if that level is enabled (see `logGuarded`).
template <class Domain, class... Arguments>
void warnMessage(RaiseSite const& site, RaiseKind const& kind, Domain id, Arguments const&... arguments) {
    logGuarded(site, kind, log4cplus::WARN_LOG_LEVEL, [&](LogMessageFormater& formater) {
        formater[id];
        static_cast<void>((formater % ... % arguments));
    });
}

} // namespace velmo
