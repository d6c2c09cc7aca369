// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "OutputFile.h"

#include "Failure.h"
#include "Interrupt.h"
#include "TemporaryName.h"

#include <boost/algorithm/string/replace.hpp>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <sstream>
#include <sys/stat.h>

namespace velmo {
namespace tool {

namespace {

namespace fs = boost::filesystem;

constexpr int g_maxLinks = 40;
constexpr mode_t g_permissions = 0777;

fs::file_type getType(fs::path const& path) {
    boost::system::error_code ignored;
    return fs::status(path, ignored).type();
}

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
