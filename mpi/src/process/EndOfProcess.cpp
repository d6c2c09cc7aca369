// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "process/EndOfProcess.h"

#include <VELMOBase/ReplacedFile.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <sys/resource.h>
#include <unistd.h>

namespace velmo::image::mpi {

namespace {

using Path = std::array<char, PATH_MAX>;

/// The guarded file, in a form that a signal handler can read while `g_bGuarded` is set.
Path g_guarded = {};
std::atomic<bool> g_bGuarded{false};

int countDescriptors() noexcept {
    constexpr rlim_t most = 65536;
    rlimit limit = {};
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<int>(std::min(limit.rlim_cur, most)) : 1024;
}

/// "/proc/self/fd/N", without the functions that a signal handler must not call.
std::array<char, 32> nameDescriptor(int descriptor) noexcept {
    std::array<char, 32> name = {'/', 'p', 'r', 'o', 'c', '/', 's', 'e', 'l', 'f', '/', 'f', 'd', '/'};
    std::array<char, 12> digits = {};
    std::size_t nbDigits = 0;
    do {
        digits[nbDigits++] = static_cast<char>('0' + descriptor % 10);
        descriptor /= 10;
    } while (descriptor != 0);
    std::reverse_copy(digits.begin(), digits.begin() + static_cast<std::ptrdiff_t>(nbDigits),
                      name.begin() + 14);
    return name;
}

/// Whether a descriptor is a temporary file, whose path it stores.
bool readTemporaryPath(int descriptor, Path& path) noexcept {
    ssize_t const size = readlink(nameDescriptor(descriptor).data(), path.data(), path.size() - 1);
    if (size <= 0) {
        return false;
    }
    path[static_cast<std::size_t>(size)] = '\0';
    std::string_view const text(path.data(), static_cast<std::size_t>(size));
    auto const slash = text.rfind('/');
    return slash != std::string_view::npos && isTemporaryName(text.substr(slash + 1));
}

extern "C" void velmoMpiTerminate(int signal) {
    removeTemporaryFiles();
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    raise(signal);
}

} // namespace

std::vector<std::string> findTemporaryFiles() {
    std::vector<std::string> paths;
    Path path = {};
    for (int descriptor = 0; descriptor < countDescriptors(); ++descriptor) {
        if (readTemporaryPath(descriptor, path)) {
            paths.emplace_back(path.data());
        }
    }
    return paths;
}

void guardTemporaryFile(std::string const& path) {
    static std::mutex mutex; // for writers; a signal handler cannot wait
    std::lock_guard<std::mutex> const lock(mutex);
    g_bGuarded = false;
    if (path.size() < g_guarded.size()) {
        std::copy(path.begin(), path.end(), g_guarded.begin());
        g_guarded[path.size()] = '\0';
        g_bGuarded = true;
    }
}

void removeTemporaryFiles() noexcept {
    int const error = errno;
    Path path;
    for (int descriptor = 0; descriptor < countDescriptors(); ++descriptor) {
        if (readTemporaryPath(descriptor, path)) {
            unlink(path.data());
        }
    }
    if (g_bGuarded) {
        unlink(g_guarded.data());
    }
    errno = error;
}

void endProcess(std::string const& reason) {
    std::fprintf(stderr, "VELMOImageFile: the MPI job ends: %s\n", reason.c_str());
    std::fflush(stderr);
    removeTemporaryFiles();
}

TermHandler::TermHandler() {
    struct sigaction handler = {};
    handler.sa_handler = velmoMpiTerminate;
    sigemptyset(&handler.sa_mask);
    _bSet = sigaction(SIGTERM, nullptr, &_earlier) == 0 && _earlier.sa_handler == SIG_DFL &&
            sigaction(SIGTERM, &handler, nullptr) == 0;
}

TermHandler::~TermHandler() {
    if (_bSet) {
        sigaction(SIGTERM, &_earlier, nullptr);
    }
}

} // namespace velmo::image::mpi
