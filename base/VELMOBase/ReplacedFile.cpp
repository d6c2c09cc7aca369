// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/ReplacedFile.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmo {

namespace {

namespace fs = boost::filesystem;

constexpr std::string_view g_prefix = ".velmo-image-";
constexpr std::string_view g_digits = "%%%%%%%%%%%%";
constexpr std::string_view g_suffix = ".tmp";
constexpr int g_maxLinks = 40;
constexpr mode_t g_permissions = 0777;
constexpr mode_t g_newFile = 0666;
constexpr mode_t g_ownerOnly = S_IRUSR | S_IWUSR;

SystemResult success() {
    return SystemResult(0);
}

SystemResult failWithLastError() {
    return SystemResult(errno);
}

/// Waits for the lock. Where the file system has none, there is nothing to wait for.
void lock(int descriptor) {
    while (flock(descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

/// Removes a file that no process holds locked. On file systems without locks none is removed.
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

/// Returns how many names the folder has.
std::size_t removeAbandonedIn(fs::path const& folder) {
    std::unique_ptr<DIR, int (*)(DIR*)> const pFolder(opendir(folder.c_str()), closedir);
    std::size_t nbNames = 0;
    while (dirent const* const pEntry = pFolder ? readdir(pFolder.get()) : nullptr) {
        ++nbNames;
        if (isTemporaryName(pEntry->d_name)) {
            removeIfAbandoned(folder / pEntry->d_name);
        }
    }
    return nbNames;
}

/// Removes what killed processes left in folders, at the first save of the process in each of them. As many
/// files are saved to one folder, the looks at it must not cost more and more: behind a look at N names the
/// next N / 64 saves do without. May be used by several threads.
class Tidying {
  public:
    void tidy(fs::path const& folder) {
        struct stat state = {};
        if (stat(folder.c_str(), &state) == 0 && isDue({state.st_dev, state.st_ino})) {
            std::size_t const nbNames = removeAbandonedIn(folder);
            std::lock_guard<std::mutex> const lock(_mutex);
            _nbSavesToSkip[{state.st_dev, state.st_ino}] = nbNames / g_namesASave;
        }
    }

  private:
    using FolderId = std::pair<dev_t, ino_t>;

    bool isDue(FolderId const& folder) {
        std::lock_guard<std::mutex> const lock(_mutex);
        if (_nbSavesToSkip.size() >= g_mostFolders) {
            _nbSavesToSkip.clear();
        }
        std::size_t& nbSavesToSkip = _nbSavesToSkip[folder];
        bool const bDue = nbSavesToSkip == 0;
        nbSavesToSkip -= bDue ? 0 : 1;
        return bDue;
    }

    static constexpr std::size_t g_mostFolders = 1024;
    static constexpr std::size_t g_namesASave = 64;

    std::mutex _mutex;
    std::map<FolderId, std::size_t> _nbSavesToSkip;
};

void tidy(fs::path const& folder) {
    static Tidying tidying;
    tidying.tidy(folder.empty() ? "." : folder);
}

/// Whether another process, which came between the creation and the lock, has removed the file.
bool isNameless(int descriptor) {
    struct stat state = {};
    return fstat(descriptor, &state) == 0 && state.st_nlink == 0;
}

/// The end of a chain of symbolic links, whether it exists or not. Returns 0 or the error.
int followLinks(fs::path& path) {
    boost::system::error_code error;
    for (int links = 0; fs::symlink_status(path, error).type() == fs::symlink_file; ++links) {
        if (links == g_maxLinks) {
            return ELOOP;
        }
        fs::path const next = fs::read_symlink(path, error);
        if (error) {
            return error.value();
        }
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return 0;
}

std::string toQuoted(fs::path const& path) {
    std::ostringstream quotedPath;
    quotedPath << path;
    return quotedPath.str();
}

/// Some file systems report what could not be written at the closing of a descriptor only; the descriptor
/// itself stays open.
bool reportsNoLateError(int descriptor) {
    int const copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    return copy >= 0 && close(copy) == 0;
}

} // namespace

bool isTemporaryName(std::string_view name) {
    if (name.size() != g_prefix.size() + g_digits.size() + g_suffix.size() ||
        name.substr(0, g_prefix.size()) != g_prefix ||
        name.substr(name.size() - g_suffix.size()) != g_suffix) {
        return false;
    }
    std::string_view const digits = name.substr(g_prefix.size(), g_digits.size());
    return digits.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

ReplacedFile::ReplacedFile(fs::path target, eOldFile oldFile)
    : _target(std::move(target)), _oldFile(oldFile), _replacedPath(_target), _path(_target) {}

ReplacedFile::~ReplacedFile() {
    if (_descriptor >= 0) {
        unlink(_path.c_str());
        close(_descriptor);
    }
}

SystemResult ReplacedFile::create() {
    if (int const error = followLinks(_replacedPath)) {
        return SystemResult(error);
    }
    struct stat old = {};
    if (stat(_replacedPath.c_str(), &old) != 0) {
        return errno == ENOENT && !_replacedPath.empty() ? createBeside(_replacedPath) : failWithLastError();
    }
    if (S_ISDIR(old.st_mode)) {
        return SystemResult(EISDIR);
    }
    if (!S_ISREG(old.st_mode)) {
        return success();
    }
    if (_oldFile == eOldFile::Refuse) {
        return SystemResult(EEXIST);
    }
    if (faccessat(AT_FDCWD, _replacedPath.c_str(), W_OK, AT_EACCESS) != 0) {
        return failWithLastError();
    }
    _bReplaces = true;
    _mode = old.st_mode & g_permissions;
    _owner = old.st_uid;
    _group = old.st_gid;
    return createBeside(_replacedPath);
}

SystemResult ReplacedFile::createBeside(fs::path const& target) {
    tidy(target.parent_path());
    std::string const pattern = std::string(g_prefix).append(g_digits).append(g_suffix);
    while (true) {
        fs::path path = target.parent_path() / fs::unique_path(pattern);
        int const descriptor =
            open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, _bReplaces ? g_ownerOnly : g_newFile);
        if (descriptor < 0) {
            return failWithLastError();
        }
        lock(descriptor);
        if (!isNameless(descriptor)) {
            _path.swap(path); // unlike an assignment does not allocate: the destructor removes `_path`
            _descriptor = descriptor;
            return success();
        }
        close(descriptor);
    }
}

SystemResult ReplacedFile::commit() {
    if (_descriptor < 0) {
        return success();
    }
    if (!reportsNoLateError(_descriptor) || !takesPermissions()) {
        return failWithLastError();
    }
    SystemResult result = rename();
    if (result) {
        close(std::exchange(_descriptor, -1));
    }
    return result;
}

/// The owner first, since a change of the owner can take permissions away.
bool ReplacedFile::takesPermissions() const {
    if (!_bReplaces) {
        return true;
    }
    bool const bOwned = fchown(_descriptor, _owner, _group) == 0;
    static_cast<void>(bOwned || fchown(_descriptor, static_cast<uid_t>(-1), _group) == 0);
    return fchmod(_descriptor, _mode) == 0;
}

SystemResult ReplacedFile::rename() const {
    unsigned int const flags = _oldFile == eOldFile::Refuse ? RENAME_NOREPLACE : 0U;
    int result = renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, _replacedPath.c_str(), flags);
    if (result != 0 && errno == EINVAL && flags != 0) { // file systems without the flag
        struct stat ignored = {};
        if (lstat(_replacedPath.c_str(), &ignored) == 0) {
            return SystemResult(EEXIST);
        }
        result = std::rename(_path.c_str(), _replacedPath.c_str());
    }
    return result == 0 ? success() : failWithLastError();
}

std::string ReplacedFile::nameTarget(std::string text) const {
    if (_path != _target) {
        boost::algorithm::replace_all(text, toQuoted(_path), toQuoted(_target));
        boost::algorithm::replace_all(text, _path.string(), _target.string());
    }
    return text;
}

} // namespace velmo
