// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <array>

namespace velmo::test {

using testing::HasSubstr;

struct Listing {
    char const* name;
    char const* pattern;
    Arguments names;
    char const* lines;
    std::vector<std::string> warnings; ///< words of each, one warning a line
};

namespace {

class Match : public CliTest {
  protected:
    ToolResult matchFolder(std::string const& pattern, Arguments const& options = {}) const {
        return runTool(Arguments{"match", pattern, "--directory", _folder.getPath().string()} + options);
    }
};

class MatchedNames : public testing::TestWithParam<Listing> {};

std::string countNames(unsigned int first, unsigned int last, unsigned int step) {
    std::string text;
    for (unsigned int number = first; number <= last; number += step) {
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    }
    return text;
}

} // namespace

TEST_P(MatchedNames, AreListedInTheOrderOfALoad) {
    ToolResult const result = runTool(Arguments{"match", GetParam().pattern, "--"} + GetParam().names);
    EXPECT_EQ(0, result.status);
    EXPECT_EQ(GetParam().lines, result.out);
    std::vector<std::string> const& warnings = GetParam().warnings;
    EXPECT_EQ(warnings.size(), std::count(result.err.begin(), result.err.end(), '\n')) << result.err;
    for (std::string const& warning : warnings) {
        EXPECT_THAT(result.err, HasSubstr(warning));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Names, MatchedNames,
    testing::Values(
        Listing{"ByNumber", "a<INDEX>.tif", {"a10.tif", "a9.tif", "b8.tif"}, "a9.tif\t9\na10.tif\t10\n", {}},
        Listing{"ByNameWithoutANumber", "a*.tif", {"a2.tif", "a10.tif"}, "a10.tif\t-\na2.tif\t-\n", {}},
        Listing{"AsPathsCompare", "*", {"a.b", "a/b", "B"}, "B\t-\na/b\t-\na.b\t-\n", {}},
        Listing{"OfSeveralPatterns", "a<INDEX>|b<INDEX>", {"b2", "a3", "a1"}, "a1\t1\nb2\t2\na3\t3\n", {}},
        Listing{"LargestNumber",
                "<INDEX>",
                {"18446744073709551615", "18446744073709551614"},
                "18446744073709551614\t18446744073709551614\n18446744073709551615\t18446744073709551615\n",
                {}},
        Listing{"GapOfOne", "<INDEX>", {"4", "2"}, "2\t2\n4\t4\n", {"warning: missing 3\n"}},
        Listing{"GapsBelowTheLowestAreNone", "<INDEX>", {"7", "8"}, "7\t7\n8\t8\n", {}},
        Listing{"GapOfAll64Bits",
                "<INDEX>",
                {"18446744073709551615", "0"},
                "0\t0\n18446744073709551615\t18446744073709551615\n",
                {"warning: missing 1-18446744073709551614\n"}},
        Listing{"GapAndDuplicate",
                "a<INDEX>",
                {"a13", "a2", "a02", "a4", "a5", "a6"},
                "a2\t2\na02\t2\na4\t4\na5\t5\na6\t6\na13\t13\n",
                {"warning: ignored \"a02\": it has the number 2 of \"a2\"\n", "missing 3, 7-12\n"}},
        Listing{"StrangeNames",
                "*",
                {"-x", "%s%n", "a b", "\"'", "\xff\xfe", "$(x)"},
                "\"'\t-\n$(x)\t-\n%s%n\t-\n-x\t-\na b\t-\n\xff\xfe\t-\n",
                {}},
        Listing{"Braces", "*", {"{}"}, "{}\t-\n", {}},
        Listing{"TwoPercents", "*", {"%%", "a"}, "%%\t-\na\t-\n", {}},
        Listing{"TheEmptyName", "*", {""}, "\t-\n", {}}),
    getName<Listing>);

TEST_F(Match, ListsTheFilesOfADirectoryWithoutItsFolders) {
    for (char const* const name : {"img10.tif", "img2.tif", "other.txt"}) {
        create(name, "");
    }
    boost::filesystem::create_directory(_folder / "img3.tif");
    create("img3.tif/img4.tif", "");
    link("img3.tif", "img5.tif");
    link("other.txt", "img11.tif");
    link("nowhere", "img12.tif");
    ToolResult const result = matchFolder("img<INDEX>.tif");
    EXPECT_EQ("img2.tif\t2\nimg10.tif\t10\nimg11.tif\t11\nimg12.tif\t12\n", result.out);
    expectWarning(result, "missing 3-9\n");
}

TEST_F(Match, OfEqualNumbersTheFirstThatTheDirectoryListsIsTaken) {
    create("a7", "");
    create("a07", "");
    std::string first;
    for (auto const& entry : boost::filesystem::directory_iterator(_folder.getPath())) {
        first = first.empty() ? entry.path().filename().string() : first;
    }
    std::string const second = first == "a7" ? "a07" : "a7";
    ToolResult const result = matchFolder("a<INDEX>");
    EXPECT_EQ(first + "\t7\n" + second + "\t7\n", result.out);
    expectWarning(result, "ignored \"" + second + '"', "number 7 of \"" + first + '"');
}

TEST_F(Match, WithStrictEqualAndMissingNumbersAreOneFailureBehindTheListing) {
    ToolResult const result = runTool({"match", "<INDEX>", "--strict", "1", "01", "3"});
    EXPECT_EQ("1\t1\n01\t1\n3\t3\n", result.out);
    expectFailure(result, 1, "ignored \"01\"", "number 1 of \"1\"\nmissing 2\n");
    expectDone(runTool({"match", "<INDEX>", "--strict", "1", "2"}));
}

TEST_F(Match, ManyGapsAndDuplicatesAreSummarised) {
    Arguments arguments = {"match", "<INDEX>"};
    for (unsigned int number = 0; number <= 40; number += 2) {
        arguments.push_back(std::to_string(number));
        arguments.push_back("0" + std::to_string(number));
    }
    ToolResult const result = runTool(arguments);
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, hasWords("missing " + countNames(1, 19, 2) + " and 10 more", "ignored 11 more"));
    EXPECT_EQ(12, std::count(result.err.begin(), result.err.end(), '\n'));
}

TEST_F(Match, NoMatchIsAFailure) {
    create("a.txt", "");
    expectFailure(runTool({"match", "b*", "a1", "a2"}), 1, "no name matches \"b*\"");
    boost::filesystem::remove(_folder / "a.txt");
    create(".hidden.tif", "");
    expectFailure(matchFolder("b*"), 1, _folder.getPath().string(), "\"b*\"", "no files");
}

TEST_F(Match, WhereNoFileMatchesOneThatIsThereIsNamed) {
    create("a.txt", "");
    for (char const* const pattern : {"b<INDEX>", "b*"}) {
        expectFailure(matchFolder(pattern), 1, _folder.getPath().string(), pattern, "\"a.txt\"\n");
    }
    create("img1.TIF", "");
    expectFailure(matchFolder("img#.tif"), 1, "\"img#.tif\"", "\"img1.TIF\"; <INDEX>");
}

TEST_F(Match, ANameWithAFolderThatDoesNotMatchIsHintedAt) {
    std::string const hint = "hint: \"s/a1.tif\" does not match";
    expectFailure(runTool({"match", "a<INDEX>.tif", "s/a1.tif", "s/a2.tif"}), 1,
                  "no name matches \"a<INDEX>.tif\"\n" + hint, "--directory");
    ToolResult const result = runTool({"match", "a<INDEX>.tif", "a3.tif", "s/a1.tif"});
    EXPECT_EQ("a3.tif\t3\n", result.out);
    expectFailure(result, 0, hint, "--directory");
    expectDone(runTool({"match", "*a<INDEX>.tif", "s/a1.tif", "b"}));
}

TEST_F(Match, ADirectoryThatCannotBeListedIsToldWithTheReason) {
    create("file", "");
    boost::filesystem::create_directory(_folder / "loops");
    link("loop", "loops/loop");
    for (auto const& [directory, named, reason] :
         {std::array{"none", "none", "No such file or directory"},
          {"file", "file", "Not a directory"},
          {"loops", "loops/loop", "Too many levels of symbolic links"}}) {
        expectFailure(runTool({"match", "*", "--directory", path(directory)}), 1,
                      '"' + path(named) + "\": " + reason);
    }
}

TEST_F(Match, APatternOrANumberThatTheLibraryRefusesIsNamed) {
    expectFailure(runTool({"match", "a<INDEX>|b*", "a1"}), 1, "(a<INDEX>|b*)", "mixing patterns");
    expectFailure(runTool({"match", "<INDEX>_<INDEX>", "a1"}), 1, "More than one", "\"<INDEX>_<INDEX>\"");
    expectFailure(runTool({"match", "a<INDEX>", "a1", "a18446744073709551616"}), 1,
                  "\"a18446744073709551616\"", "64 bits");
}

TEST_F(Match, TheHelpSaysWhichOfDuplicateNumbersIsUsed) {
    EXPECT_THAT(runTool({"match", "--help"}).out,
                testing::ContainsRegex("only[ \n]+the[ \n]+first[ \n]+of[ \n]+several[ \n]+files"));
}

} // namespace velmo::test
