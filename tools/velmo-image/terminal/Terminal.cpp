// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/Terminal.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velmo::tool {

namespace {

constexpr std::size_t g_usualColumns = 80;

/// 0, or the error number of the write that failed; EINTR where an interrupt ended a wait for a reader.
int writeAll(int descriptor, std::string const& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        if (!waitForDescriptor(descriptor, POLLOUT)) {
            return EINTR;
        }
        // A pipe that is ready takes as many without a wait.
        std::size_t const nbBytes = std::min<std::size_t>(text.size() - done, PIPE_BUF);
        ssize_t const nbWritten = write(descriptor, text.data() + done, nbBytes);
        if (nbWritten >= 0) {
            done += static_cast<std::size_t>(nbWritten);
        } else if (errno != EINTR && errno != EAGAIN) {
            return errno;
        }
    }
    return 0;
}

} // namespace

std::optional<std::size_t> findColumns(int descriptor) {
    if (isatty(descriptor) != 1) {
        return std::nullopt;
    }
    winsize size = {};
    bool const bReported = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return bReported ? size.ws_col : g_usualColumns;
}

void printOutput(std::string const& text) {
    int const error = writeAll(STDOUT_FILENO, text);
    if (error == EINTR) {
        throw Interrupted();
    }
    if (error != 0 && error != EPIPE) {
        throw WorkFailure(std::string("cannot write to standard output: ") + std::strerror(error));
    }
}

void printMessage(std::string const& text) {
    writeAll(STDERR_FILENO, "velmo-image: " + text + '\n');
}

void printWarnings(std::string const& file, std::vector<std::string> const& warnings) {
    for (std::string const& warning : warnings) {
        printMessage("warning: " + quoted(file) + ": " + warning);
    }
}

} // namespace velmo::tool
