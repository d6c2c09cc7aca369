// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "PlainMatcher.h"
#include "ThrownText.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>
#include <optional>
#include <random>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_untouched = 987654321;

/// What a pattern string makes of a name: the number, `g_untouched` where none is read, nothing without a
/// match.
std::optional<vlUInt64> match(std::string const& patterns, std::string const& name) {
    vlUInt64 index = g_untouched;
    bool const bMatches = testFilePatternMatching(patterns, name, index);
    if (!bMatches) {
        EXPECT_EQ(index, g_untouched) << patterns << " on " << name;
    }
    return bMatches ? std::optional(index) : std::nullopt;
}

struct Verdict {
    char const* patterns;
    char const* name;
    std::optional<vlUInt64> expected;
};

constexpr std::nullopt_t g_no = std::nullopt;

Verdict const g_verdicts[] = {
    {"img<INDEX>.tif", "img0012.tif", 12},
    {"img<INDEX>.tif", "img.tif", g_no},
    {"img<INDEX>.tif", "img12a.tif", g_no},
    {"<INDEX>1.tif", "0011.tif", 1},
    {"<INDEX>1.tif", "1.tif", g_no},
    {"<INDEX>?y", "12zy", 12},
    {"<INDEX>?y", "123y", g_no},
    {"<INDEX>?", "123", g_no},
    {"<INDEX>?", "123a", 123},
    {"<INDEX>*.tif", "12_x.tif", 12},
    {"<INDEX>*.tif", "12.tif", 12},
    {"*<INDEX>", "ab22", 22},
    {"*<INDEX>", "a1b22", g_no},
    {"*<INDEX>*", "a1b22", 1},
    {"*<INDEX>.tif", "a12b34.tif", 34},
    {"*_<INDEX>.tif", "a_12_b_34.tif", 34},
    {"*<INDEX>x", "12x34x", g_no},
    {"*.tif", "a.tif", g_untouched},
    {"*.tif", "a.tif.tif", g_no},
    {"*a", "aba", g_no},
    {"a*c", "abcabc", g_no},
    {"a*c*", "abcabc", g_untouched},
    {"x*y*z", "xayaz", g_untouched},
    {"x*y*z", "xyzyz", g_no},
    {"*a*b", "aab", g_untouched},
    {"*a*b", "abab", g_no},
    {"a?c", "abc", g_untouched},
    {"a?c", "ac", g_no},
    {"a*?b", "axb", g_untouched},
    {"a*?b", "ab", g_no},
    {"?*", "", g_no},
    {"*", "", g_untouched},
    {"*", "any", g_untouched},
    {"**", "", g_untouched},
    {"**", "any", g_untouched},
    {"", "", g_untouched},
    {"", "any", g_untouched},
    {"<IN*DEX>", "<INTERDEX>", g_untouched},
    {"Img*", "img1", g_no},
    {"a\xC3\xA4?", "a\xC3\xA4z", g_untouched},
    {"?", "\xC3\xA4", g_no},
    {"img<INDEX>", "img18446744073709551615", NumericLimits<vlUInt64>::s_max},
    {"img<INDEX>", "img007", 7},
    {"a|", "any", g_untouched},
    {"|a", "any", g_untouched},
    {"a||b", "any", g_untouched},
    {"z<INDEX>|y<INDEX>", "y7", 7},
    {"z<INDEX>|y<INDEX>", "x7", g_no},
    {"x<INDEX>|<INDEX>_<INDEX>", "x1", 1},
};

struct RandomCases {
    std::mt19937 random;

    unsigned int below(unsigned int bound) { return static_cast<unsigned int>(random() % bound); }

    std::string makePattern() {
        static char const* const pieces[] = {"a", "b", "1", "2", "?", "*", "*", "ab", "12"};
        std::string pattern;
        unsigned int const nbPieces = below(7);
        unsigned int const indexAt = below(10);
        for (unsigned int piece = 0; piece < nbPieces; ++piece) {
            pattern += piece == indexAt ? "<INDEX>" : pieces[below(9)];
        }
        return pattern;
    }

    std::string makeName() {
        std::string name;
        for (unsigned int left = below(9); left > 0; --left) {
            name += "ab12"[below(4)];
        }
        return name;
    }
};

} // namespace

TEST(FilePatternMatching, EveryPatternHasItsVerdict) {
    for (Verdict const& verdict : g_verdicts) {
        EXPECT_EQ(match(verdict.patterns, verdict.name), verdict.expected)
            << verdict.patterns << " on " << verdict.name;
    }
}

TEST(FilePatternMatching, PatternsWithAndWithoutANumberAreRefusedBeforeAnythingIsMatched) {
    for (char const* const patterns : {"z<INDEX>|y", "y|z<INDEX>", "a<INDEX>|", "z<INDEX>|y<INDEX>|x"}) {
        test::CapturedLog const log(getVELMOImageFileLogger());
        std::string const text = test::thrownText<VELMOImageFileException>([&] { match(patterns, "z1"); });
        EXPECT_EQ(text, "Invalid pattern string (" + std::string(patterns) +
                            "), mixing patterns with and without keyword \"<INDEX>\"");
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords().front().message, text);
    }
}

TEST(FilePatternMatching, TwoNumbersInAPatternAreRefusedWhenItIsTried) {
    for (char const* const patterns : {"<INDEX>_<INDEX>", "x<INDEX>|<INDEX>_<INDEX>"}) {
        EXPECT_EQ(test::thrownText<VELMOImageFileException>([&] { match(patterns, "y"); }),
                  "More than one instance of keyword \"<INDEX>\" in pattern \"<INDEX>_<INDEX>\"");
    }
}

TEST(FilePatternMatching, ANumberBeyond64BitsIsAFailedConversion) {
    vlUInt64 index = g_untouched;
    EXPECT_THROW(testFilePatternMatching("img<INDEX>", "img18446744073709551616", index),
                 boost::bad_lexical_cast);
    EXPECT_EQ(index, g_untouched);
}

TEST(FilePatternMatching, EveryOtherByteIsItself) {
    for (int byte = 1; byte < 256; ++byte) {
        std::string const character(1, static_cast<char>(byte));
        if (character != "*" && character != "?" && character != "|") {
            EXPECT_EQ(match("x" + character, "x" + character), g_untouched) << byte;
            EXPECT_EQ(match("x" + character, "x"), std::nullopt) << byte;
        }
    }
}

TEST(FilePatternMatching, RandomCasesAgreeWithThePlainestReading) {
    std::random_device::result_type const seed = std::random_device{}();
    RandomCases cases{std::mt19937(seed)};
    vlUInt64 nbMatches = 0;
    for (int left = 40000; left > 0; --left) {
        std::string const pattern = cases.makePattern();
        std::string const name = cases.makeName();
        auto const digits = test::matchPlainly(pattern, name);
        auto const expected = !digits           ? std::nullopt
                              : digits->empty() ? std::optional(g_untouched)
                                                : std::optional(boost::lexical_cast<vlUInt64>(*digits));
        ASSERT_EQ(match(pattern, name), expected) << pattern << " on " << name << ", seed " << seed;
        nbMatches += digits ? 1U : 0U;
    }
    EXPECT_GT(nbMatches, 2000U) << "seed " << seed; // else the cases show little
}

TEST(FilePatternMatching, ManyStarsDoNotMultiplyTheWork) {
    std::string pattern;
    for (int star = 0; star < 20; ++star) {
        pattern += "*a";
    }
    EXPECT_EQ(match(pattern + "b", std::string(255, 'a')), std::nullopt); // would run for years otherwise
}

} // namespace velmo::image::file
