// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo {
namespace tool {

/// From here on SIGINT, SIGTERM and SIGHUP are requests that the work answers at its next piece; the ones
/// that the process was started to ignore stay ignored.
void catchInterrupts();
bool isInterruptRequested();
/// Throws Interrupted after a request.
void throwIfInterrupted();

} // namespace tool
} // namespace velmo
