// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <boost/filesystem/path.hpp>
#include <system_error>

namespace velmo {

/// Why nothing can be sought in what a path names: it is a folder, or a pipe or socket, whose opening may
/// wait for ever. No error for anything else, also where there is nothing.
VELMO_HOST_EXPORT std::error_code getSeekError(boost::filesystem::path const& path);

/// Why what a path names cannot be read to its end: as of getSeekError, or it is a device such as /dev/zero,
/// which may have none.
VELMO_HOST_EXPORT std::error_code getReadAllError(boost::filesystem::path const& path);

} // namespace velmo
