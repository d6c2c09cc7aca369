// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <boost/filesystem/path.hpp>

namespace velmo {

/// Bytes that this process can still take without being killed: the least of what the machine and each
/// control group above the process say is available. Page cache counts as available, since the kernel gives
/// it up. What cannot be read sets no bound. `root` stands before "/proc" and "/sys".
VELMO_HOST_EXPORT vlUInt64 getAvailableMemory(boost::filesystem::path const& root = "/");

} // namespace velmo
