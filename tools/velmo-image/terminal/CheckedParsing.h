// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/Failure.h"

#include <VELMOUtil/Types.h>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmo::tool {

// Values of options. A value that does not fit throws WrongUse, whose text describes a valid one. `option` is
// the name as users write it.

/// The number that a text consists of; empty for other texts. Throws nothing.
std::optional<vlUInt64> findNumber(std::string const& text);
vlUInt64 parseNumber(std::string const& option, std::string const& text);
/// A number of threads, from 1 to 1024.
vlUInt64 parseThreads(std::string const& option, std::string const& text);
/// X,Y[,Z[,C[,T]]]: two to five sizes, none of them 0.
std::vector<vlUInt64> parseSizes(std::string const& option, std::string const& text);

/// P[,P]...: percents from 0 to 100.
std::vector<double> parsePercents(std::string const& option, std::string const& text);
/// A finite number from 0.
double parseDistance(std::string const& option, std::string const& text);

struct ValueRange {
    double low;
    double high;
};
/// LO,HI with LO below HI, both finite.
ValueRange parseRange(std::string const& option, std::string const& text);
/// A number of bytes, with or without the suffix K, M or G: powers of 1024.
vlUInt64 parseBytes(std::string const& option, std::string const& text);

template <class Value>
using Choice = std::pair<char const*, Value>;

/// The value of a word.
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
    throw WrongUse(option + " must be one of " + words + ", not " + quoted(text));
}

} // namespace velmo::tool
