// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/ShellWord.h"

#include <algorithm>
#include <boost/algorithm/string/replace.hpp>

namespace velmo::tool {

namespace {

bool isPlain(char character) {
    bool const bLetter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    bool const bDigit = character >= '0' && character <= '9';
    return bLetter || bDigit || std::string("_./-+,:=@%").find(character) != std::string::npos;
}

} // namespace

std::string toShellWord(std::string const& word) {
    bool const bPlain =
        !word.empty() && word.front() != '-' && std::all_of(word.begin(), word.end(), isPlain);
    return bPlain ? word : '\'' + boost::algorithm::replace_all_copy(word, "'", "'\\''") + '\'';
}

} // namespace velmo::tool
