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

/// Waits until a descriptor is ready for `events` (POLLIN or POLLOUT). False if it is not and a request
/// comes, whichever thread receives the signal.
bool waitForDescriptor(int descriptor, short events);

/// Whether a progress bar is on the terminal, which the message of such an end removes first.
void setBarDrawn(bool bDrawn);

/// While it lives, a request ends the process at once, with the message and the exit status of an interrupt:
/// for work that cannot be asked to stop and leaves nothing behind. A request before it is thrown as
/// Interrupted. Several threads may have one at a time; the process ends while any of them has.
class PromptInterrupts {
  public:
    PromptInterrupts();
    ~PromptInterrupts();
    PromptInterrupts(PromptInterrupts const&) = delete;
    PromptInterrupts& operator=(PromptInterrupts const&) = delete;
};

} // namespace velmo::tool
