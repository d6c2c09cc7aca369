// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/Failure.h"

#include <VELMOUtil/Types.h>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace velmo::tool {

// Values of options. What does not fit is thrown as WrongUse, whose text says how it should look. `option` is
// the name as it stands on the command line.

vlUInt64 parseNumber(std::string const& option, std::string const& text);
/// X,Y[,Z[,C[,T]]]: two to five sizes, none of them 0.
std::vector<vlUInt64> parseSizes(std::string const& option, std::string const& text);

struct ValueRange {
    double low;
    double high;
};
/// LO,HI with LO below HI, both finite.
ValueRange parseRange(std::string const& option, std::string const& text);

template <class Value>
using Choice = std::pair<char const*, Value>;

/// The value that stands beside a word.
template <class Value, std::size_t Count>
Value parseChoice(std::string const& option, std::string const& text,
                  std::array<Choice<Value>, Count> const& choices) {
    std::string words;
    for (auto const& [word, value] : choices) {
        if (text == word) {
            return value;
        }
        words += (words.empty() ? "" : ", ") + std::string(word);
    }
    throw WrongUse(option + " takes one of " + words + "; not " + quoted(text));
}

} // namespace velmo::tool
