// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>

namespace velmo {
namespace tool {

/// Throws WorkFailure, in the words of the library's catalogue, for a text of z-steps that cannot be read,
/// and for its first line that is neither blank nor a positive, finite number. An XML file (its extension is
/// exactly ".xml") is not looked at.
void requireZSteps(boost::filesystem::path const& path);

} // namespace tool
} // namespace velmo
