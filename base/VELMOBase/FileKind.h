// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <system_error>

namespace velmo {

/// The reason why a file is not seekable: it is a directory, a pipe or a socket. Opening a pipe could block
/// forever, so that callers ask before they open. No error for any other file, and for a missing one.
std::error_code getSeekError(boost::filesystem::path const& path);

/// The reason why a file cannot be read to its end: that of `getSeekError`, or it is a character device such
/// as /dev/zero, which may have no end.
std::error_code getReadAllError(boost::filesystem::path const& path);

} // namespace velmo
