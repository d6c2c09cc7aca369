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

std::optional<vlUInt64> findNumber(std::string const& text) {
    vlUInt64 number = 0;
    return parseWhole(text, number) ? std::optional(number) : std::nullopt;
}

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

std::vector<double> parsePercents(std::string const& option, std::string const& text) {
    std::vector<double> percents;
    for (std::string const& field : splitFields(text)) {
        double percent = 0;
        if (!parseWhole(field, percent) || !(percent >= 0 && percent <= 100)) {
            throw WrongUse(option + " must be P[,P]..., numbers from 0 to 100, such as 5,50,99.9, not " +
                           quoted(text));
        }
        percents.push_back(percent);
    }
    return percents;
}

double parseDistance(std::string const& option, std::string const& text) {
    double distance = 0;
    if (!parseWhole(text, distance) || !std::isfinite(distance) || distance < 0) {
        throw WrongUse(option + " must be a number from 0, such as 0.5, not " + quoted(text));
    }
    return distance;
}

ValueRange parseRange(std::string const& option, std::string const& text) {
    std::vector<std::string> const fields = splitFields(text);
    ValueRange range = {0, 0};
    if (fields.size() != 2 || !parseWhole(fields[0], range.low) || !parseWhole(fields[1], range.high) ||
        !std::isfinite(range.low) || !std::isfinite(range.high) || range.low >= range.high) {
        throw WrongUse(option +
                       " must be LO,HI, two numbers with LO less than HI, such as 0,255, or min,max, not " +
                       quoted(text));
    }
    return range;
}

vlUInt64 parseBytes(std::string const& option, std::string const& text) {
    constexpr unsigned int bitsOfStep = 10;
    std::size_t const suffix = text.empty() ? std::string::npos : std::string("KMG").find(text.back());
    unsigned int const shift =
        suffix == std::string::npos ? 0 : bitsOfStep * (static_cast<unsigned int>(suffix) + 1);
    vlUInt64 number = 0;
    if (!parseWhole(text.substr(0, text.size() - (shift == 0 ? 0 : 1)), number) ||
        number > NumericLimits<vlUInt64>::s_max >> shift) {
        throw WrongUse(option + " must be a number of bytes, such as 500000 or 20M, not " + quoted(text));
    }
    return number << shift;
}

} // namespace velmo::tool
