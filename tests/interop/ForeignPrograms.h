// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <optional>
#include <string>
#include <vector>

namespace velmo::test {

using Arguments = std::vector<std::string>;

struct ProgramResult {
    int status;
    std::string out;
    std::string err;
};

/// A run of a program that the path knows, to its end.
ProgramResult runProgram(Arguments const& arguments);

/// A python3 that has tifffile, or nothing.
std::optional<std::string> findPython();
bool hasLzw(std::string const& python);

/// What `java` needs before the name of a source file that uses ImageJ, or nothing.
std::optional<Arguments> findImageJ();

bool hasLibtiffTools();

/// The lines of a text, without the line feeds.
std::vector<std::string> toLines(std::string const& text);

} // namespace velmo::test
