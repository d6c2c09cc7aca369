// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <boost/algorithm/string/replace.hpp>
#include <gtest/gtest.h>
#include <regex>

namespace velmo::test {

namespace {

/// What a pattern makes of a name, as the page writes it.
std::string judge(std::string const& pattern, std::string const& name) {
    constexpr vlUInt64 untouched = 987654321;
    vlUInt64 number = untouched;
    if (!image::file::testFilePatternMatching(pattern, name, number)) {
        return "no";
    }
    return number == untouched ? "yes" : "yes, " + std::to_string(number);
}

} // namespace

TEST(PatternsPage, EveryRowOfTheTableOfVerdictsIsSo) {
    std::string page = readFile(boost::filesystem::path(VELMO_TEST_ROOT) / "docs/formats/patterns.md");
    std::regex const row("\n\\| `([^`]*)` \\| `([^`]*)` \\| ([^|]*) \\|(?=[^\n]*\n)");
    int nbRows = 0;
    for (std::sregex_iterator found(page.begin(), page.end(), row), end; found != end; ++found, ++nbRows) {
        std::string const pattern = boost::replace_all_copy((*found)[1].str(), "\\|", "|"); // as a table asks
        EXPECT_EQ(judge(pattern, (*found)[2]), (*found)[3]) << found->str();
    }
    EXPECT_GE(nbRows, 20);
}

} // namespace velmo::test
