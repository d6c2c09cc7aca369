// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/FileKind.h"

#include <boost/filesystem/operations.hpp>

namespace velmo {

std::error_code getSeekError(boost::filesystem::path const& path) {
    boost::system::error_code ignored;
    switch (boost::filesystem::status(path, ignored).type()) {
    case boost::filesystem::directory_file:
        return std::make_error_code(std::errc::is_a_directory);
    case boost::filesystem::fifo_file:
    case boost::filesystem::socket_file:
        return std::make_error_code(std::errc::invalid_seek);
    default:
        return {};
    }
}

std::error_code getReadAllError(boost::filesystem::path const& path) {
    boost::system::error_code ignored;
    return boost::filesystem::status(path, ignored).type() == boost::filesystem::character_file
               ? std::make_error_code(std::errc::invalid_seek)
               : getSeekError(path);
}

} // namespace velmo
