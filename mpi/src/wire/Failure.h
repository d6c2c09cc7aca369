// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Header.h"

#include <VELMOUtil/BoolResult.h>
#include <functional>
#include <string>
#include <string_view>

namespace velmo::image::mpi {

/// How work ended, in a form that can be sent: its kind and, unless it succeeded, a payload with text, place
/// and ids of messages.
struct SentOutcome {
    eOutcome outcome = eOutcome::Success;
    std::string payload;
};

/// Runs work and stores how it ended. Throws nothing but std::bad_alloc. Exceptions are not logged: the
/// driver logs them.
SentOutcome runForReply(std::function<BoolResult()> const& work);

/// The outcome of a request at the driver: returns a failed result, or logs and throws an exception of the
/// kind that the work threw. `place` ends the text.
BoolResult takeOutcome(eOutcome outcome, std::string_view payload, std::string const& place);

} // namespace velmo::image::mpi
