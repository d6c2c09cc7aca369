// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/Interrupt.h"

#include "terminal/Failure.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace velmo::tool {

namespace {

// The handler runs on any thread.
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "handlers of signals need it");
std::atomic<bool> g_bRequested = false;
std::atomic<bool> g_bBarDrawn = false;
/// An event descriptor that is readable after a request; -1 if the system has none left.
std::atomic<int> g_requestDescriptor = -1;
/// Threads that have a PromptInterrupts.
std::atomic<int> g_nbPrompt = 0;

template <std::size_t size>
void writeFromHandler(char const (&message)[size]) {
    static_cast<void>(!write(STDERR_FILENO, message, size - 1));
}

extern "C" void requestInterrupt(int /*signal*/) {
    int const error = errno; // of the call that the signal came into
    g_bRequested = true;
    constexpr std::uint64_t one = 1;
    static_cast<void>(!write(g_requestDescriptor, &one, sizeof(one)));
    if (g_nbPrompt != 0) {
        if (g_bBarDrawn) {
            writeFromHandler("\r\x1b[K");
        }
        writeFromHandler("velmo-image: interrupted\n");
        _exit(eES_Interrupted);
    }
    errno = error;
}

void catchSignal(int signal) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
        return;
    }
    action = {};
    action.sa_handler = requestInterrupt;
    action.sa_flags = 0; // no SA_RESTART: a request also ends a wait for a pipe or a terminal
    sigaction(signal, &action, nullptr);
}

} // namespace

void catchInterrupts() {
    g_requestDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    catchSignal(SIGINT);
    catchSignal(SIGTERM);
    catchSignal(SIGHUP);
}

bool isInterruptRequested() {
    return g_bRequested;
}

void throwIfInterrupted() {
    if (isInterruptRequested()) {
        throw Interrupted();
    }
}

bool waitForDescriptor(int descriptor, short events) {
    std::array<pollfd, 2> states = {{{descriptor, events, 0}, {g_requestDescriptor, POLLIN, 0}}};
    while (true) {
        int const nbReady = poll(states.data(), states.size(), -1);
        if (nbReady > 0 && states[0].revents != 0) {
            return true; // also after an error, which the next call reports
        }
        if (isInterruptRequested()) {
            return false;
        }
    }
}

void setBarDrawn(bool bDrawn) {
    g_bBarDrawn = bDrawn;
}

PromptInterrupts::PromptInterrupts() {
    ++g_nbPrompt;
    if (isInterruptRequested()) {
        --g_nbPrompt;
        throw Interrupted();
    }
}

PromptInterrupts::~PromptInterrupts() {
    --g_nbPrompt;
}

} // namespace velmo::tool
