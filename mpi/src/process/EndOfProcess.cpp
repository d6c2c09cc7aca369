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
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmo::image::mpi {

namespace {

using Path = std::array<char, PATH_MAX>;

/// A path that a signal handler can read while `bSet` is true.
struct GuardedPath {
    Path path = {};
    std::atomic<bool> bSet{false};

    void set(std::string const& text) {
        static std::mutex mutex; // for writers; a signal handler cannot wait
        std::lock_guard<std::mutex> const lock(mutex);
        bSet = false;
        if (text.size() < path.size()) {
            std::copy(text.begin(), text.end(), path.begin());
            path[text.size()] = '\0';
            bSet = true;
        }
    }
};
GuardedPath g_guardedFile;
GuardedPath g_guardedFolder;

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

/// Removes a temporary file whose process does not hold its lock any more.
void removeIfAbandoned(int folder, char const* name) noexcept {
    int const file = openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file >= 0) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0) {
            unlinkat(folder, name, 0);
        }
        close(file);
    }
}

/// Reads the folder with system calls, since a signal handler must not call `readdir`.
void removeAbandonedIn(char const* path) noexcept {
    int const folder = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    alignas(dirent64) std::array<char, 4096> entries;
    long nbBytes = 0;
    while ((nbBytes = syscall(SYS_getdents64, folder, entries.data(), entries.size())) > 0) {
        for (long at = 0; at < nbBytes;) {
            auto const* const pEntry = reinterpret_cast<dirent64 const*>(entries.data() + at);
            if (isTemporaryName(pEntry->d_name)) {
                removeIfAbandoned(folder, pEntry->d_name);
            }
            at += pEntry->d_reclen;
        }
    }
    close(folder);
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
    g_guardedFile.set(path);
}

void guardFolder(std::string const& path) {
    g_guardedFolder.set(path);
}

void removeTemporaryFiles() noexcept {
    int const error = errno;
    Path path;
    for (int descriptor = 0; descriptor < countDescriptors(); ++descriptor) {
        if (readTemporaryPath(descriptor, path)) {
            unlink(path.data());
        }
    }
    if (g_guardedFile.bSet) {
        unlink(g_guardedFile.path.data());
    }
    if (g_guardedFolder.bSet) {
        removeAbandonedIn(g_guardedFolder.path.data());
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
