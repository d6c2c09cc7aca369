// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

// Patterns and, behind the first line feed, the name of a file.

namespace velmo {
namespace fuzz {

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

void check(std::string const& patterns, std::string const& name) {
    Sandbox::get();
    Match const result = match(patterns, name);
    bool const bIndexed = patterns.find("<INDEX>") != std::string::npos;
    if ((!result.bMatches || !bIndexed) && result.index != 0) {
        abortWith("a pattern that reads no number gave one");
    }
    bool const bLiteral = patterns.find_first_of("*?<|") == std::string::npos;
    if (bLiteral && result.bMatches != (patterns.empty() || patterns == name)) {
        abortWith("a name without wildcards is not matched as it stands");
    }
    Match const widened = match(patterns + "|*", name);
    if (!bIndexed && result.refusal.empty() && !widened.bMatches) {
        abortWith("a star did not match a name");
    }
}

} // namespace

} // namespace fuzz
} // namespace velmo

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    std::string const text = velmo::fuzz::FuzzInput(pBytes, nbBytes).getRest();
    std::size_t const end = text.find('\n');
    velmo::fuzz::check(text.substr(0, end), end == std::string::npos ? std::string() : text.substr(end + 1));
    return 0;
}
