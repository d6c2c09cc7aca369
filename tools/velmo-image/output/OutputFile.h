// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <functional>
#include <vector>

namespace velmo::tool {

/// Runs `write` on a temporary name beside `target` and gives the file its name when `write` has returned. An
/// interrupt or a failure removes the temporary file and leaves what had the name as it was. Where the
/// process is killed, the next run that writes into the folder removes it.
///
/// A symbolic link is followed: what it names is replaced. A replaced file hands on its permissions. A device
/// or a pipe is handed to `write` itself. A directory is refused, and, without `bOverwrite`, an existing
/// file.
///
/// Failures of `write` are thrown on, with the target's name in place of the temporary one.
void writeOutput(boost::filesystem::path const& target, bool bOverwrite,
                 std::function<void(boost::filesystem::path const&)> const& write);

/// A file to write and the function that writes it under the name that it is called with.
struct OutputTarget {
    boost::filesystem::path path;
    std::function<void(boost::filesystem::path const&)> write;
};
/// The same for several files, which get their names together: a failure leaves none of them. Only a failure
/// that comes while they get their names leaves those that have already replaced an earlier file. Needs a
/// file descriptor for each file.
void writeOutputs(std::vector<OutputTarget> const& targets, bool bOverwrite);

/// What a chain of symbolic links ends at, whether that exists or not. Throws WorkFailure for a circle.
boost::filesystem::path followLinks(boost::filesystem::path path);

/// Whether both name one file that exists.
bool isSameFile(boost::filesystem::path const& left, boost::filesystem::path const& right);

/// Throws WorkFailure where `writeOutput` would refuse the target, before any work is done.
void requireWritableTarget(boost::filesystem::path const& target, bool bOverwrite);

} // namespace velmo::tool
