// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// From here on the process may have as many files open as the system lets it; a series takes one for each of
/// its files.
void raiseOpenFileLimit();
/// How many files the process may have open.
vlUInt64 getOpenFileLimit();

} // namespace velmo::tool
