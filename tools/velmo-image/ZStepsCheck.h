// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>

namespace velmo {
namespace tool {

/// Throws WorkFailure, in the words of the library's catalogue, for z-steps that are no file (a folder, a
/// pipe, a device), for a text that cannot be read, and for its first line that is longer than 4096
/// characters or neither blank nor a positive, finite number. It takes little memory, however long the text
/// is. What is in an XML file (its extension is exactly ".xml") is not looked at.
void requireZSteps(boost::filesystem::path const& path);

} // namespace tool
} // namespace velmo
