// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>

namespace velmo {

/// Bytes that this process can still allocate without being killed: the minimum of what the machine and each
/// control group of the process report as available. Page cache counts as available, since the kernel frees
/// it on demand. Files that cannot be read set no limit. Files are read below `root`, for tests.
std::uint64_t getAvailableMemory(boost::filesystem::path const& root = "/");

} // namespace velmo
