// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Figure.h"

#include <iosfwd>
#include <string>

namespace velmo::bench {

/// Prints the table with columns of equal width.
void print(std::ostream& out, Table const& table);

/// Prints the date, the machine and the table as Markdown. `note` says how the figures were obtained.
void printMarkdown(std::ostream& out, Table const& table, std::string const& note);

} // namespace velmo::bench
