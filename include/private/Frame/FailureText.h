// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/LogAccess.h"

#include <VELMOBase/SystemResult.h>
#include <VELMOUtil/Failures.h>
#include <boost/filesystem/path.hpp>
#include <exception>
#include <string>

namespace velmo::image::file {

/// Returns a failed BoolResult with message `id` and its arguments in the order of the placeholders. Logs
/// nothing.
template <class Domain, class... Arguments>
BoolResult fail(Domain id, Arguments const&... arguments) {
    return failMessage(g_velmoImageFileRaise, id, arguments...);
}

/// Raises message `id` at `site` as VELMOImageFileException.
template <class Domain, class... Arguments>
[[noreturn]] void raise(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    raiseMessage(site, g_velmoImageFileRaise, id, arguments...);
}

/// Logs message `id` at `site` as a warning, if warnings are enabled. For a call that succeeds without all
/// pixels.
template <class Domain, class... Arguments>
void warn(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    warnMessage(site, g_velmoImageFileRaise, id, arguments...);
}

/// The outcome of a step of the system: a failure has the system's text.
inline BoolResult toBoolResult(SystemResult const& result) {
    return BoolResult(static_cast<bool>(result), result.getMessage());
}

/// Runs `step` and returns its result. If the step throws, returns a failure with message `id`, whose
/// arguments are the path and the text of the exception.
template <class Domain, class Step>
BoolResult failOnException(Domain id, boost::filesystem::path const& path, Step const& step) {
    try {
        return step();
    } catch (std::exception const& exception) {
        return fail(id, path.string(), exception);
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
