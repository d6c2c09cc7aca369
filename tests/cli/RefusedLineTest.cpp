// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

namespace velmo::test {

namespace {

struct Line {
    char const* name;
    Arguments arguments;
    char const* message;
    char const* help; ///< which one tells more
};

std::ostream& operator<<(std::ostream& os, Line const& line) {
    return os << line.name;
}

class RefusedLine : public testing::TestWithParam<Line> {};

} // namespace

TEST_P(RefusedLine, IsToldWithWhatIsRight) {
    ToolResult const result = runTool(GetParam().arguments);
    EXPECT_EQ("", result.out);
    std::string const help = *GetParam().help == '\0' ? "" : GetParam().help + std::string(" ");
    std::string const message = GetParam().message;
    expectFailure(result, 2,
                  message + (message.back() == '?' ? " " : "; ") + "velmo-image " + help +
                      "--help tells more");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, RefusedLine,
    testing::Values(
        Line{
            "Nothing", {}, "a command is missing, one of info, convert, preview, stack, resample, match", ""},
        Line{"NoSuchCommand",
             {"undo", "x"},
             "there is no command \"undo\"; it is one of info, convert, preview, stack, resample, match",
             ""},
        Line{"SwappedLetters", {"inof", "x"}, "there is no command \"inof\", did you mean info?", ""},
        Line{"MissingLetters", {"resampl"}, "there is no command \"resampl\", did you mean resample?", ""},
        Line{"BeginningOfACommand", {"conv"}, "there is no command \"conv\", did you mean convert?", ""},
        Line{"OptionWithoutACommand",
             {"--vresion"},
             "there is no option \"--vresion\" before a command, did you mean --version?",
             ""},
        Line{"OptionBeforeTheCommand",
             {"--json", "info", "a.tif"},
             "there is no option \"--json\" before a command",
             "info"},
        Line{"MisspeltOption",
             {"info", "--jsn", "x"},
             "info has no option \"--jsn\", did you mean --json?",
             "info"},
        Line{"MisspeltOptionWithAValue",
             {"convert", "a", "b", "--compresion", "lzw"},
             "convert has no option \"--compresion\", did you mean --compression?",
             "convert"},
        Line{"MisspeltOptionWithAnEqualsSign",
             {"convert", "a", "b", "--sise=3,4"},
             "convert has no option \"--sise\", did you mean --size?",
             "convert"},
        Line{"NoSuchOption", {"info", "--what", "x"}, "info has no option \"--what\"", "info"},
        Line{"OptionOfAnotherCommand",
             {"match", "*", "--montage"},
             "match has no option \"--montage\"",
             "match"},
        Line{"OneNameTooMany",
             {"convert", "a", "b", "c"},
             "convert takes INPUT OUTPUT, and \"c\" is one too many",
             "convert"},
        Line{
            "PatternTheShellReplaced",
            {"stack", "s", "a1.tif", "a2.tif", "out.tif"},
            "stack takes DIRECTORY PATTERN OUTPUT, and \"out.tif\" is one too many; without quotes around it "
            "the shell replaces a pattern by names",
            "stack"},
        Line{"NoOutput", {"convert", "a"}, "OUTPUT is required: convert INPUT OUTPUT", "convert"},
        Line{"NoFile", {"info"}, "FILE is required: info FILE...", "info"},
        Line{"NoPattern", {"match"}, "PATTERN is required: match PATTERN [NAME...]", "match"},
        Line{"NoSizeZ",
             {"resample", "s", "*", "steps", "out"},
             "--size-z is required: resample DIRECTORY PATTERN ZSTEPS OUTPUT",
             "resample"},
        Line{"NoValue", {"info", "x", "--size"}, "--size takes a value", "info"},
        Line{"OptionGivenTwice",
             {"info", "x", "--size", "1,1", "--size", "1,1"},
             "--size is given more than once",
             "info"},
        Line{"OptionsThatDoNotGoTogether",
             {"preview", "a", "b", "--montage", "--z", "1"},
             "--z excludes --montage",
             "preview"}),
    getName<Line>);

} // namespace velmo::test
