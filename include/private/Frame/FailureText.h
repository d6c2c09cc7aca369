// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/LogAccess.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <boost/filesystem/path.hpp>
#include <exception>
#include <log4cplus/loglevel.h>
#include <string>

namespace velmo::image::file {

/// Returns a failed BoolResult with message `id` and its arguments in the order of the placeholders. Logs
/// nothing.
template <class Domain, class... Arguments>
BoolResult fail(Domain id, Arguments const&... arguments) {
    LogMessageFormater formater(getVELMOImageFileLogMessageManager());
    formater[id];
    static_cast<void>((formater % ... % arguments));
    return failure(formater.string());
}

/// Raises message `id` at `site` as VELMOImageFileException.
template <class Domain, class... Arguments>
[[noreturn]] void raise(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    raiseGuarded(site, g_velmoImageFileRaise, [&](LogMessageFormater& formater) {
        formater[id];
        static_cast<void>((formater % ... % arguments));
    });
}

/// The text of message `id`.
template <class Domain, class... Arguments>
std::string toText(Domain id, Arguments const&... arguments) {
    return fail(id, arguments...).getMessage();
}

/// Logs message `id` at `site` as a warning, if warnings are enabled. For a call that succeeds without all
/// pixels.
template <class Domain, class... Arguments>
void warn(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    logGuarded(site, g_velmoImageFileRaise, log4cplus::WARN_LOG_LEVEL, [&](LogMessageFormater& formater) {
        formater[id];
        static_cast<void>((formater % ... % arguments));
    });
}

/// Runs `step` and returns its result. If the step throws, returns a failure with message `id`, whose
/// arguments are the path and the text of the exception.
template <class Domain, class Step>
BoolResult failOnException(Domain id, boost::filesystem::path const& path, Step const& step) {
    try {
        return step();
    } catch (std::exception const& exception) {
        return fail(id, path.string(), exception.what());
    } catch (...) {
        return fail(id, path.string(), "Unknown exception");
    }
}

/// Runs `steps` in their order until one fails, and returns the last result.
template <class... Steps>
BoolResult runSteps(Steps const&... steps) {
    BoolResult result = success();
    static_cast<void>(((result = steps(), static_cast<bool>(result)) && ...));
    return result;
}

} // namespace velmo::image::file
