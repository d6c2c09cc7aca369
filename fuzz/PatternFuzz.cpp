// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "PlainMatcher.h"
#include "Sandbox.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <algorithm>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

// Input: patterns and, after the first line feed, the name of a file.

namespace velmo::fuzz {

namespace {

struct Match {
    bool bMatches = false;
    vlUInt64 index = 0;
    std::string refusal;
};

Match match(std::string const& patterns, std::string const& name) {
    Match result;
    try {
        result.bMatches = image::file::testFilePatternMatching(patterns, name, result.index);
    } catch (image::file::VELMOImageFileException const& exception) {
        result.refusal = exception.what();
    } catch (boost::bad_lexical_cast const& exception) {
        result.refusal = exception.what();
    }
    return result;
}

/// Whether the simple matcher, whose time grows with every wildcard, finishes quickly: one pattern with few
/// wildcards and at most one number, and a short name.
bool isPlain(std::string const& pattern, std::string const& name) {
    std::string const index = "<INDEX>";
    std::size_t const first = pattern.find(index);
    bool const bTwice = first != std::string::npos && pattern.find(index, first + 1) != std::string::npos;
    return !bTwice && pattern.find('|') == std::string::npos && name.size() <= 24 && pattern.size() <= 32 &&
           std::count(pattern.begin(), pattern.end(), '*') <= 4;
}

void compareWithPlainReading(std::string const& pattern, std::string const& name, Match const& result) {
    std::optional<std::string> const digits = test::matchPlainly(pattern, name);
    if (result.bMatches != digits.has_value() ||
        (digits && !digits->empty() &&
         std::to_string(result.index) !=
             digits->substr(std::min(digits->find_first_not_of('0'), digits->size() - 1)))) {
        abortWith("the simple matcher gives another result");
    }
}

void check(std::string const& patterns, std::string const& name) {
    Sandbox::get();
    Match const result = match(patterns, name);
    bool const bIndexed = patterns.find("<INDEX>") != std::string::npos;
    if ((!result.bMatches || !bIndexed) && result.index != 0) {
        abortWith("a pattern without <INDEX> returned a number");
    }
    bool const bLiteral = patterns.find_first_of("*?<|") == std::string::npos;
    if (bLiteral && result.bMatches != (patterns.empty() || patterns == name)) {
        abortWith("a pattern without wildcards does not match the equal name");
    }
    if (result.refusal.empty() && isPlain(patterns, name)) {
        compareWithPlainReading(patterns, name, result);
    }
    Match const widened = match(patterns + "|*", name);
    if (!bIndexed && result.refusal.empty() && !widened.bMatches) {
        abortWith("a star did not match a name");
    }
}

} // namespace

} // namespace velmo::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    std::string const text = velmo::fuzz::FuzzInput(pBytes, nbBytes).getRest();
    std::size_t const end = text.find('\n');
    velmo::fuzz::check(text.substr(0, end), end == std::string::npos ? std::string() : text.substr(end + 1));
    return 0;
}
