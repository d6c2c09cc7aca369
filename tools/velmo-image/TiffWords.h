// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace velmo {
namespace tool {

/// From here on what libtiff says is in the library's messages and in `getTiffError`, and not on standard
/// error.
void captureTiffWords();

/// The latest error, no warning, that libtiff reported to this thread; empty where there was none since it
/// was cleared.
std::string const& getTiffError();
void clearTiffError();

} // namespace tool
} // namespace velmo
