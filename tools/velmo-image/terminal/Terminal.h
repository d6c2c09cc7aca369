// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace velmo::tool {

/// The width of the terminal on a descriptor: 80 for a terminal that does not report its width. Empty if the
/// descriptor is no terminal.
std::optional<std::size_t> findColumns(int descriptor);

/// Writes to standard output. A reader that has gone (`| head`) is no failure; anything else is thrown as
/// WorkFailure, and a request to stop that comes while nobody reads as Interrupted.
void printOutput(std::string const& text);
/// One message on standard error, behind the name of the program.
void printMessage(std::string const& text);
/// A message each, which names the file.
void printWarnings(std::string const& file, std::vector<std::string> const& warnings);

} // namespace velmo::tool
