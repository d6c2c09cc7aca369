// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/FileDescription.h"

namespace velmo::tool {

/// A table with one line for each file and aligned columns, all of it at the end. The warnings follow it, a
/// line each. The line of a file that cannot be opened has dashes.
std::unique_ptr<InfoReport> createTableReport();

} // namespace velmo::tool
