// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// Throws WorkFailure, with the system's reason, for a file that is not there, is a directory or may not be
/// read. It is not opened: that would wait for the writer of a pipe.
void requireReadable(boost::filesystem::path const& path);

} // namespace velmo::tool
