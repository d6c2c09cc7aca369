// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::tool {

/// From here on SIGINT, SIGTERM and SIGHUP are requests that the work answers at its next piece; the ones
/// that the process was started to ignore stay ignored.
void catchInterrupts();
bool isInterruptRequested();
/// Throws Interrupted after a request.
void throwIfInterrupted();

/// While it lives, a request ends the process at once, with the message and the exit status of an interrupt:
/// for work that cannot be asked to stop and leaves nothing behind. A request before it is thrown as
/// Interrupted. One at a time.
class PromptInterrupts {
  public:
    PromptInterrupts();
    ~PromptInterrupts();
    PromptInterrupts(PromptInterrupts const&) = delete;
    PromptInterrupts& operator=(PromptInterrupts const&) = delete;
};

} // namespace velmo::tool
