// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::tool {

/// From here on the process may have as many files open as the system lets it; a series takes one for each of
/// its files.
void raiseOpenFileLimit();

} // namespace velmo::tool
