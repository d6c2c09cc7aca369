// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputFile.h"

#include "terminal/Failure.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::tool {

void requireReadable(boost::filesystem::path const& path) {
    struct stat state = {};
    if (stat(path.c_str(), &state) != 0 || euidaccess(path.c_str(), R_OK) != 0) {
        failAt("read", path, errno);
    }
    if (S_ISDIR(state.st_mode)) {
        failAt("read", path, EISDIR);
    }
}

} // namespace velmo::tool
