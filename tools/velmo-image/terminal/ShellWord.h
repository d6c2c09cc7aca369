// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace velmo::tool {

/// A word as a user types it in a shell: in single quotes if it has characters other than letters, digits and
/// "_./-+,:=@%".
std::string toShellWord(std::string const& word);

} // namespace velmo::tool
