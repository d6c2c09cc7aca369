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

/// What is wrong with a command line that the parser has refused, and how it should look. `words` are those
/// behind the name of the program.
std::string explainRefusal(CLI::App const& app, CLI::ParseError const& refusal,
                           std::vector<std::string> const& words);

/// The candidate that a word was most probably meant to be: one that a typing error or, of longer words, two
/// lead to, or one that begins with it; empty where there is none or more than one.
std::string findMeant(std::string const& word, std::vector<std::string> const& candidates);

} // namespace velmo::tool
