// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputFile.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <VELMOBase/ReplacedFile.h>
#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <memory>

namespace velmo::tool {

namespace {

namespace fs = boost::filesystem;

constexpr int g_maxLinks = 40;

fs::file_type getType(fs::path const& path) {
    boost::system::error_code ignored;
    return fs::status(path, ignored).type();
}

void callWriter(std::function<void(fs::path const&)> const& write, ReplacedFile const& file) {
    auto const fail = [&](std::string const& text) {
        throwIfInterrupted();
        throw WorkFailure(file.nameTarget(text));
    };
    try {
        write(file.getPath());
    } catch (BaseException const& failure) {
        fail(getFullText(failure));
    } catch (WorkFailure const& failure) {
        fail(failure.what());
    }
    throwIfInterrupted();
}

void require(SystemResult const& result, std::string const& what, fs::path const& target) {
    if (!result) {
        throw WorkFailure("cannot " + what + ' ' + quoted(target.string()) + ": " + result.getMessage());
    }
}

/// Gives all files their names. If one of them fails, those that replaced nothing are removed again.
void commitAll(std::vector<OutputTarget> const& targets,
               std::vector<std::unique_ptr<ReplacedFile>> const& files) {
    std::vector<bool> bNew; // before the first file has its name: from there on no memory is allocated
    bNew.reserve(targets.size());
    for (OutputTarget const& target : targets) {
        bNew.push_back(getType(target.path) == fs::file_not_found);
    }
    for (std::size_t index = 0; index < targets.size(); ++index) {
        SystemResult const result = files[index]->commit();
        if (!result) {
            boost::system::error_code ignored;
            for (std::size_t earlier = 0; earlier < index; ++earlier) {
                fs::remove(bNew[earlier] ? followLinks(targets[earlier].path) : fs::path(), ignored);
            }
            require(result, "write", targets[index].path);
        }
    }
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
        throw WorkFailure(quoted(target.string()) + " already exists; --overwrite replaces it");
    }
}

void writeOutput(fs::path const& target, bool bOverwrite, std::function<void(fs::path const&)> const& write) {
    writeOutputs({{target, write}}, bOverwrite);
}

void writeOutputs(std::vector<OutputTarget> const& targets, bool bOverwrite) {
    for (OutputTarget const& target : targets) {
        requireWritableTarget(target.path, bOverwrite);
    }
    std::vector<std::unique_ptr<ReplacedFile>> files;
    for (OutputTarget const& target : targets) {
        files.push_back(
            std::make_unique<ReplacedFile>(target.path, bOverwrite ? eOldFile::Replace : eOldFile::Refuse));
        require(files.back()->create(), "create", target.path);
        callWriter(target.write, *files.back());
    }
    commitAll(targets, files);
}

} // namespace velmo::tool
