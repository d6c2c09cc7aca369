// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

struct KeywordPattern {
    char const* name;
    char const* pattern;
    char const* mistaken; ///< empty where there is nothing to warn of
};

namespace {

class Keyword : public SeriesFixture {};
class MistakenKeyword : public SeriesFixture, public testing::WithParamInterface<KeywordPattern> {};

auto warnsOf(std::string const& mistaken, std::string const& pattern) {
    return testing::AllOf(testing::StartsWith("velmo-image: warning: \"" + mistaken + '"'),
                          testing::HasSubstr('"' + pattern + '"'), testing::HasSubstr("\"<INDEX>\"\n"));
}

} // namespace

TEST_P(MistakenKeyword, IsWarnedOfWhereNothingMatches) {
    std::string const pattern = GetParam().pattern;
    std::string const mistaken = GetParam().mistaken;
    ToolResult const result = runTool({"match", pattern, "none"});
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, testing::EndsWith("velmo-image: no name matches \"" + pattern + "\"\n"));
    if (mistaken.empty()) {
        EXPECT_THAT(result.err, Not(HasSubstr("warning")));
    } else {
        EXPECT_THAT(result.err, warnsOf(mistaken, pattern));
    }
}

INSTANTIATE_TEST_SUITE_P(Patterns, MistakenKeyword,
                         testing::Values(KeywordPattern{"Unclosed", "a<INDEX", "<INDEX"},
                                         KeywordPattern{"UnclosedBeforeAnExtension", "a<INDEX.tif", "<INDEX"},
                                         KeywordPattern{"Shortened", "a<IND>", "<IND>"},
                                         KeywordPattern{"LowerCase", "a<index>.tif", "<index>"},
                                         KeywordPattern{"LongerWord", "a<INDEXES>b", "<INDEXES>"},
                                         KeywordPattern{"WithABlank", "a<INDEX >", "<INDEX"},
                                         KeywordPattern{"BehindARightOne", "a<INDEX>b<Index>", "<Index>"},
                                         KeywordPattern{"TheKeyword", "a<INDEX>.tif", ""},
                                         KeywordPattern{"AnotherWord", "a<in>", ""},
                                         KeywordPattern{"WithoutABracket", "INDEX>", ""}),
                         getName<KeywordPattern>);

TEST_F(Keyword, AMistakenOneIsMatchedAsItIsSpelt) {
    ToolResult const result = runTool({"match", "a<INDEX", "a<INDEX", "a1"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("a<INDEX\t-\n", result.out);
    EXPECT_THAT(result.err, warnsOf("<INDEX", "a<INDEX"));
}

TEST_F(Keyword, AMistakenOneIsWarnedOfByStackAndResample) {
    put("a1.tif", "abcdef");
    create("steps.txt", "1\n");
    for (Arguments const& arguments : {Arguments{"stack", path("s"), "a<INDEX.tif", path("out.raw")},
                                       Arguments{"resample", path("s"), "a<INDEX.tif", path("steps.txt"),
                                                 path("out.raw"), "--size-z", "2"}}) {
        ToolResult const result = runTool(arguments);
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, warnsOf("<INDEX", "a<INDEX.tif"));
        EXPECT_THAT(result.err, HasSubstr("no file in \"" + path("s") + "\" matches \"a<INDEX.tif\""));
        EXPECT_THAT(result.err, HasSubstr("\"a1.tif\"; <INDEX>"));
    }
}

} // namespace velmo::test
