// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "OutputFile.h"

#include "Failure.h"
#include "Interrupt.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo {
namespace tool {

namespace {

namespace fs = boost::filesystem;

constexpr int g_maxLinks = 40;
constexpr mode_t g_permissions = 0777;

[[noreturn]] void failAt(char const* what, fs::path const& path, int error) {
    throw WorkFailure(std::string("cannot ") + what + ' ' + quoted(path.string()) + ": " +
                      std::strerror(error));
}

fs::file_type getType(fs::path const& path) {
    boost::system::error_code ignored;
    return fs::status(path, ignored).type();
}

/// The name of a file of its own, which is removed unless it was given another name.
class TemporaryName {
  public:
    TemporaryName(fs::path const& target, mode_t mode)
        : _path(target.parent_path() / fs::unique_path(".velmo-image-%%%%%%%%%%%%.tmp")) {
        int const descriptor = open(_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor < 0) {
            failAt("create", target, errno);
        }
        close(descriptor);
    }
    ~TemporaryName() {
        if (!_bRenamed) {
            unlink(_path.c_str());
        }
    }
    TemporaryName(TemporaryName const&) = delete;
    TemporaryName& operator=(TemporaryName const&) = delete;

    fs::path const& getPath() const { return _path; }

    void rename(fs::path const& target, bool bReplace) {
        int result = renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, target.c_str(),
                               bReplace ? 0U : static_cast<unsigned int>(RENAME_NOREPLACE));
        if (result != 0 && errno == EINVAL && getType(target) == fs::file_not_found) {
            result = std::rename(_path.c_str(), target.c_str()); // file systems without the flag
        }
        if (result != 0) {
            failAt("write", target, errno);
        }
        _bRenamed = true;
    }

  private:
    fs::path _path;
    bool _bRenamed = false;
};

/// The file's own name in place of the one it was written under, as the library and the tool write names.
std::string tellOf(fs::path const& target, fs::path const& writtenPath, std::string text) {
    auto const inLibraryQuotes = [](fs::path const& path) {
        std::ostringstream quotedPath;
        quotedPath << path;
        return quotedPath.str();
    };
    boost::algorithm::replace_all(text, inLibraryQuotes(writtenPath), inLibraryQuotes(target));
    boost::algorithm::replace_all(text, writtenPath.string(), target.string());
    return text;
}

void callWriter(std::function<void(fs::path const&)> const& write, fs::path const& writtenPath,
                fs::path const& target) {
    auto const fail = [&](std::string const& text) {
        throwIfInterrupted();
        throw WorkFailure(tellOf(target, writtenPath, text));
    };
    try {
        write(writtenPath);
    } catch (BaseException const& failure) {
        fail(getFullText(failure));
    } catch (WorkFailure const& failure) {
        fail(failure.what());
    }
    throwIfInterrupted();
}

void replaceFile(fs::path const& target, fs::path const& namedTarget, bool bOverwrite,
                 std::function<void(fs::path const&)> const& write) {
    struct stat old = {};
    bool const bReplace = bOverwrite && stat(target.c_str(), &old) == 0;
    TemporaryName name(target, bReplace ? S_IRUSR | S_IWUSR : 0666);
    callWriter(write, name.getPath(), namedTarget);
    if (bReplace && chmod(name.getPath().c_str(), old.st_mode & g_permissions) != 0) {
        failAt("set the permissions of", target, errno);
    }
    name.rename(target, bReplace);
}

bool isReplaceable(fs::file_type type) {
    return type == fs::regular_file || type == fs::file_not_found || type == fs::status_error;
}

} // namespace

fs::path followLinks(fs::path path) {
    boost::system::error_code error;
    for (int links = 0; fs::symlink_status(path, error).type() == fs::symlink_file; ++links) {
        if (links == g_maxLinks) {
            failAt("follow", path, ELOOP);
        }
        path = fs::absolute(fs::read_symlink(path), path.parent_path().empty() ? "." : path.parent_path());
    }
    return path;
}

bool isSameFile(fs::path const& left, fs::path const& right) {
    boost::system::error_code ignored;
    return fs::equivalent(left, right, ignored);
}

void requireWritableTarget(fs::path const& target, bool bOverwrite) {
    fs::file_type const type = getType(target);
    if (type == fs::directory_file) {
        throw WorkFailure("cannot write " + quoted(target.string()) + ": it is a directory");
    }
    if (type == fs::regular_file && !bOverwrite) {
        throw WorkFailure(quoted(target.string()) + " exists already; --overwrite replaces it");
    }
}

void writeOutput(fs::path const& target, bool bOverwrite, std::function<void(fs::path const&)> const& write) {
    requireWritableTarget(target, bOverwrite);
    if (isReplaceable(getType(target))) {
        replaceFile(followLinks(target), target, bOverwrite, write);
    } else {
        callWriter(write, target, target);
    }
}

} // namespace tool
} // namespace velmo
