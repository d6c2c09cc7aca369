// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/OutputFolder.h"

#include "terminal/Failure.h"

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::tool {

OutputFolder::OutputFolder(boost::filesystem::path const& path) : _path(path) {
    constexpr mode_t everybody = 0777; // as far as the mask of the process allows it
    _bCreated = mkdir(_path.c_str(), everybody) == 0;
    int const error = errno;
    boost::system::error_code ignored;
    if (!_bCreated && !boost::filesystem::is_directory(_path, ignored)) {
        failAt("create", _path, error == EEXIST ? ENOTDIR : error);
    }
}

OutputFolder::~OutputFolder() {
    if (_bCreated) {
        rmdir(_path.c_str());
    }
}

} // namespace velmo::tool
