// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <vector>

namespace velmo::tool {

/// Writes 8-bit pixels, rows from the top, with one channel as grey and with three as RGB. Throws
/// WorkFailure.
void writePng(boost::filesystem::path const& path, vlUInt64 width, vlUInt64 height, vlUInt64 nbChannels,
              std::vector<unsigned char> const& pixels);

} // namespace velmo::tool
