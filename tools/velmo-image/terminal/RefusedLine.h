// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace velmo::tool {

/// Explains why a command line that the parser did not accept is wrong; empty for a request for help or the
/// version. `words` are the arguments of the program.
std::string explainRefusal(CLI::App const& app, CLI::ParseError const& refusal,
                           std::vector<std::string> const& words);

/// The candidate that a misspelt word probably means: one that differs by one typing error, or two in longer
/// words, or that begins with the word; empty where there is none or more than one.
std::string findMeant(std::string const& word, std::vector<std::string> const& candidates);

} // namespace velmo::tool
