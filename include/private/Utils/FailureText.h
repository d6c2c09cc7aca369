// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "LogAccess.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/LogMessageFormater.h>

namespace velmo {
namespace image {
namespace file {

/// A failure by result: message `id` with its arguments in the order of its placeholders. Nothing is logged.
template <class Domain, class... Arguments>
BoolResult fail(Domain id, Arguments const&... arguments) {
    LogMessageFormater formater(getVELMOImageFileLogMessageManager());
    formater[id];
    (formater % ... % arguments);
    return failure(formater.string());
}

/// A failure by exception: the same, raised at `site` as VELMOImageFileException.
template <class Domain, class... Arguments>
[[noreturn]] void raise(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    raiseGuarded(site, g_velmoImageFileRaise, [&](LogMessageFormater& formater) {
        formater[id];
        static_cast<void>((formater % ... % arguments));
    });
}

/// Runs steps in their order until one fails.
template <class... Steps>
BoolResult runSteps(Steps const&... steps) {
    BoolResult result = success();
    static_cast<void>(((result = steps(), static_cast<bool>(result)) && ...));
    return result;
}

} // namespace file
} // namespace image
} // namespace velmo
