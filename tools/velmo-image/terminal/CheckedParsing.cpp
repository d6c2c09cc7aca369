// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/CheckedParsing.h"

#include <charconv>
#include <cmath>

namespace velmo::tool {

namespace {

/// Whether the whole text is one value of this type.
template <class Value>
bool parseWhole(std::string const& text, Value& value) {
    char const* const pEnd = text.data() + text.size();
    auto const [pStop, error] = std::from_chars(text.data(), pEnd, value);
    return error == std::errc() && pStop == pEnd;
}

std::vector<std::string> splitFields(std::string const& text) {
    std::vector<std::string> fields(1);
    for (char const character : text) {
        if (character == ',') {
            fields.emplace_back();
        } else {
            fields.back() += character;
        }
    }
    return fields;
}

} // namespace

vlUInt64 parseNumber(std::string const& option, std::string const& text) {
    vlUInt64 number = 0;
    if (!parseWhole(text, number)) {
        throw WrongUse(option + " must be a whole number, such as 512, not " + quoted(text));
    }
    return number;
}

vlUInt64 parseThreads(std::string const& option, std::string const& text) {
    constexpr vlUInt64 mostThreads = 1024;
    vlUInt64 const nbThreads = parseNumber(option, text);
    if (nbThreads == 0 || nbThreads > mostThreads) {
        throw WrongUse(option + " must be a number from 1 to " + std::to_string(mostThreads) + ", not " +
                       quoted(text));
    }
    return nbThreads;
}

std::vector<vlUInt64> parseSizes(std::string const& option, std::string const& text) {
    std::vector<vlUInt64> sizes;
    bool bFits = true;
    for (std::string const& field : splitFields(text)) {
        bFits = bFits && parseWhole(field, sizes.emplace_back()) && sizes.back() != 0;
    }
    if (!bFits || sizes.size() < 2 || sizes.size() > 5) {
        throw WrongUse(option + " must be X,Y[,Z[,C[,T]]], two to five whole numbers from 1, such as " +
                       "640,480 or 181,217,181, not " + quoted(text));
    }
    return sizes;
}

ValueRange parseRange(std::string const& option, std::string const& text) {
    std::vector<std::string> const fields = splitFields(text);
    ValueRange range = {0, 0};
    if (fields.size() != 2 || !parseWhole(fields[0], range.low) || !parseWhole(fields[1], range.high) ||
        !std::isfinite(range.low) || !std::isfinite(range.high) || range.low >= range.high) {
        throw WrongUse(option + " must be LO,HI, two numbers with LO less than HI, such as 0,255, not " +
                       quoted(text));
    }
    return range;
}

} // namespace velmo::tool
