// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"

namespace velmo::test {

namespace {

struct Pattern {
    char const* name;
    char const* pattern;
    char const* mistaken; ///< empty where there is nothing to warn of
};

std::ostream& operator<<(std::ostream& os, Pattern const& pattern) {
    return os << pattern.name;
}

class Keyword : public SeriesFixture {};
class MistakenKeyword : public SeriesFixture, public testing::WithParamInterface<Pattern> {};

std::string warnOf(std::string const& mistaken, std::string const& pattern) {
    return "velmo-image: warning: the keyword for a number is \"<INDEX>\", and \"" + mistaken + "\" in \"" +
           pattern + "\" stands for its own letters\n";
}

} // namespace

TEST_P(MistakenKeyword, IsWarnedOfWhereNothingMatches) {
    std::string const pattern = GetParam().pattern;
    std::string const mistaken = GetParam().mistaken;
    ToolResult const result = runTool({"match", pattern, "none"});
    EXPECT_EQ(1, result.status);
    EXPECT_EQ((mistaken.empty() ? "" : warnOf(mistaken, pattern)) + "velmo-image: no name matches \"" +
                  pattern + "\"\n",
              result.err);
}

INSTANTIATE_TEST_SUITE_P(Patterns, MistakenKeyword,
                         testing::Values(Pattern{"Unclosed", "a<INDEX", "<INDEX"},
                                         Pattern{"UnclosedBeforeAnExtension", "a<INDEX.tif", "<INDEX"},
                                         Pattern{"Shortened", "a<IND>", "<IND>"},
                                         Pattern{"LowerCase", "a<index>.tif", "<index>"},
                                         Pattern{"LongerWord", "a<INDEXES>b", "<INDEXES>"},
                                         Pattern{"WithABlank", "a<INDEX >", "<INDEX"},
                                         Pattern{"BehindARightOne", "a<INDEX>b<Index>", "<Index>"},
                                         Pattern{"TheKeyword", "a<INDEX>.tif", ""},
                                         Pattern{"AnotherWord", "a<in>", ""},
                                         Pattern{"WithoutABracket", "INDEX>", ""}),
                         getName<Pattern>);

TEST_F(Keyword, AMistakenOneIsMatchedAsItIsSpelt) {
    ToolResult const result = runTool({"match", "a<INDEX", "a<INDEX", "a1"});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("a<INDEX\t-\n", result.out);
    EXPECT_EQ(warnOf("<INDEX", "a<INDEX"), result.err);
}

TEST_F(Keyword, AMistakenOneIsWarnedOfByStackAndResample) {
    put("a1.tif", "abcdef");
    create("steps.txt", "1\n");
    for (Arguments const& arguments : {Arguments{"stack", path("s"), "a<INDEX.tif", path("out.raw")},
                                       Arguments{"resample", path("s"), "a<INDEX.tif", path("steps.txt"),
                                                 path("out.raw"), "--size-z", "2"}}) {
        ToolResult const result = runTool(arguments);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ(warnOf("<INDEX", "a<INDEX.tif") + "velmo-image: no file in \"" + path("s") +
                      "\" matches \"a<INDEX.tif\"; there is \"a1.tif\", and a number in a name is written "
                      "<INDEX>\n",
                  result.err);
    }
}

} // namespace velmo::test
