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

/// A failure by result: message `id` with its arguments in the order of its placeholders. Nothing is logged.
template <class Domain, class... Arguments>
BoolResult fail(Domain id, Arguments const&... arguments) {
    return failMessage(g_velmoImageFileRaise, id, arguments...);
}

/// A failure by exception: the same, raised at `site` as VELMOImageFileException.
template <class Domain, class... Arguments>
[[noreturn]] void raise(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    raiseMessage(site, g_velmoImageFileRaise, id, arguments...);
}

/// A success that is not the whole truth: the same, logged at `site` as a warning where warnings are enabled.
template <class Domain, class... Arguments>
void warn(RaiseSite const& site, Domain id, Arguments const&... arguments) {
    warnMessage(site, g_velmoImageFileRaise, id, arguments...);
}

/// The outcome of a step of the system: a failure has the system's text.
inline BoolResult toBoolResult(SystemResult const& result) {
    return BoolResult(static_cast<bool>(result), result.getMessage());
}

/// Runs a step. An exception becomes a failure with message `id`, whose arguments are the path and the
/// exception's text.
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

/// Runs steps in their order until one fails.
template <class... Steps>
BoolResult runSteps(Steps const&... steps) {
    BoolResult result = success();
    static_cast<void>(((result = steps(), static_cast<bool>(result)) && ...));
    return result;
}

} // namespace velmo::image::file
