// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryName.h"

#include "Failure.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo {
namespace tool {

namespace {

namespace fs = boost::filesystem;

std::string const g_prefix(".velmo-image-");
std::string const g_digits("%%%%%%%%%%%%");
std::string const g_suffix(".tmp");

/// Removes a file that no run holds locked. On file systems without locks none is removed.
void removeIfAbandoned(fs::path const& path) {
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        return;
    }
    struct stat state = {};
    if (fstat(descriptor, &state) == 0 && S_ISREG(state.st_mode) &&
        flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        unlink(path.c_str());
    }
    close(descriptor);
}

void removeAbandonedIn(fs::path const& folder) {
    boost::system::error_code error;
    fs::directory_iterator entry(folder.empty() ? fs::path(".") : folder, error);
    while (!error && entry != fs::directory_iterator()) {
        if (isTemporaryName(entry->path().filename().string())) {
            removeIfAbandoned(entry->path());
        }
        entry.increment(error);
    }
}

/// Whether the file has lost its name to another run, which came between its creation and its lock.
bool isNameless(int descriptor) {
    struct stat state = {};
    return fstat(descriptor, &state) == 0 && state.st_nlink == 0;
}

} // namespace

bool isTemporaryName(std::string const& name) {
    if (name.size() != g_prefix.size() + g_digits.size() + g_suffix.size() ||
        name.compare(0, g_prefix.size(), g_prefix) != 0 ||
        name.compare(name.size() - g_suffix.size(), g_suffix.size(), g_suffix) != 0) {
        return false;
    }
    std::string const digits = name.substr(g_prefix.size(), g_digits.size());
    return digits.find_first_not_of("0123456789abcdef") == std::string::npos;
}

TemporaryName::TemporaryName(fs::path const& target, mode_t mode) {
    removeAbandonedIn(target.parent_path());
    do {
        close(_descriptor);
        _path = target.parent_path() / fs::unique_path(g_prefix + g_digits + g_suffix);
        _descriptor = open(_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (_descriptor < 0) {
            failAt("create", target, errno);
        }
        flock(_descriptor, LOCK_EX);
    } while (isNameless(_descriptor));
}

TemporaryName::~TemporaryName() {
    if (!_bRenamed) {
        unlink(_path.c_str());
    }
    close(_descriptor);
}

void TemporaryName::rename(fs::path const& target, bool bReplace) {
    int result = renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, target.c_str(),
                           bReplace ? 0U : static_cast<unsigned int>(RENAME_NOREPLACE));
    if (result != 0 && errno == EINVAL && fs::status(target).type() == fs::file_not_found) {
        result = std::rename(_path.c_str(), target.c_str()); // file systems without the flag
    }
    if (result != 0) {
        failAt("write", target, errno);
    }
    _bRenamed = true;
}

} // namespace tool
} // namespace velmo
