// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/Interrupt.h"

#include "terminal/Failure.h"

#include <csignal>
#include <unistd.h>

namespace velmo::tool {

namespace {

volatile std::sig_atomic_t g_bRequested = 0;
volatile std::sig_atomic_t g_bPrompt = 0;

extern "C" void requestInterrupt(int /*signal*/) {
    g_bRequested = 1;
    if (g_bPrompt != 0) {
        constexpr char message[] = "velmo-image: interrupted\n";
        static_cast<void>(!write(STDERR_FILENO, message, sizeof(message) - 1));
        _exit(eES_Interrupted);
    }
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
    catchSignal(SIGINT);
    catchSignal(SIGTERM);
    catchSignal(SIGHUP);
}

bool isInterruptRequested() {
    return g_bRequested != 0;
}

void throwIfInterrupted() {
    if (isInterruptRequested()) {
        throw Interrupted();
    }
}

PromptInterrupts::PromptInterrupts() {
    g_bPrompt = 1;
    if (isInterruptRequested()) {
        g_bPrompt = 0;
        throw Interrupted();
    }
}

PromptInterrupts::~PromptInterrupts() {
    g_bPrompt = 0;
}

} // namespace velmo::tool
