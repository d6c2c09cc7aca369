// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

namespace velmo::test {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Usage = CliTest;

struct WrongValue {
    char const* name;
    Arguments options;
    char const* message;
};

std::ostream& operator<<(std::ostream& os, WrongValue const& value) {
    return os << value.name;
}

class WrongUse : public CliTest, public testing::WithParamInterface<WrongValue> {};

std::string const g_sizeHelp = "--size takes X,Y[,Z[,C[,T]]]: two to five whole numbers from 1 on";

} // namespace

TEST_F(Usage, TheVersionIsTold) {
    ToolResult const result = runTool({"--version"});
    expectDone(result);
    EXPECT_THAT(result.out, testing::MatchesRegex("velmo-image [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Usage, TheHelpNamesTheCommandsAndTheExitStatuses) {
    ToolResult const result = runTool({"--help"});
    expectDone(result);
    for (char const* const text :
         {"info", "convert", "preview", "stack", "resample", "match", "130 interrupted"}) {
        EXPECT_THAT(result.out, HasSubstr(text));
    }
}

TEST_F(Usage, TheHelpOfEachCommandEndsWithExamples) {
    for (char const* const command : {"info", "convert", "preview", "stack", "resample", "match"}) {
        ToolResult const result = runTool({command, "--help"});
        expectDone(result);
        std::size_t const examples = result.out.find("\nExamples:\n  velmo-image " + std::string(command));
        ASSERT_NE(std::string::npos, examples) << result.out;
        EXPECT_EQ(std::string::npos, result.out.find("\n\n", examples)) << result.out;
    }
}

TEST_F(Usage, TheHelpFitsInto80ColumnsButForItsExamplesAndLongWords) {
    for (char const* const command : {"info", "convert", "preview", "stack", "resample", "match"}) {
        std::istringstream help(runTool({command, "--help"}).out);
        for (std::string line; std::getline(help, line) && line != "Examples:";) {
            bool const bLongWord = line.find("uint8|") != std::string::npos;
            EXPECT_TRUE(line.size() <= 80 || bLongWord) << line;
        }
    }
}

TEST_F(Usage, TheHelpOffersTheFormatsThatAreReadAndWritten) {
    for (char const* const command : {"info", "convert", "preview"}) {
        EXPECT_THAT(runTool({command, "--help"}).out,
                    ContainsRegex(" --format VALUE  *raw.tiff.im6; without it"));
    }
    EXPECT_THAT(runTool({"convert", "--help"}).out,
                ContainsRegex(" --output-format VALUE +raw.tiff; without it"));
}

TEST_F(Usage, WhatTheParserRefusesIsWrongUse) {
    for (Arguments const& arguments : {Arguments{},
                                       {"undo"},
                                       {"info"},
                                       {"info", "--what", "x"},
                                       {"convert", "x"},
                                       {"preview", "x"},
                                       {"convert", "x", "y", "z"},
                                       {"--what"},
                                       {"info", "x", "--size"},
                                       {"info", "x", "--size", "1,1", "--size", "1,1"}}) {
        ToolResult const result = runTool(arguments);
        EXPECT_EQ(2, result.status) << testing::PrintToString(arguments);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, StartsWith("velmo-image: "));
        EXPECT_THAT(result.err, EndsWith("--help tells more\n"));
    }
}

TEST_P(WrongUse, IsRefusedBeforeAnyWork) {
    std::string const input = create("in.raw", std::string(64, 'x'));
    for (Arguments const& command : {Arguments{"info", input}, Arguments{"convert", input, path("out")},
                                     Arguments{"preview", input, path("out")}}) {
        ToolResult const result = runTool(command + GetParam().options);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, StartsWith("velmo-image: " + std::string(GetParam().message)));
        EXPECT_EQ(1, std::count(result.err.begin(), result.err.end(), '\n')) << result.err;
        EXPECT_EQ(std::vector<std::string>{"in.raw"}, list());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Values, WrongUse,
    testing::Values(
        WrongValue{"NoSize", {"--type", "uint8"}, "a raw file does not say what is in it: it takes --size"},
        WrongValue{"NoType", {"--size", "1,1"}, "a raw file does not say what is in it: it takes --size"},
        WrongValue{"SizeZero", raw("0,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeNegative", raw("-1,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeWithLetter", raw("12x,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeExponent", raw("1e9,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizePlus", raw("+1,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeSpace", raw("1, 1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeEmptyField", raw("1,,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeTrailingComma", raw("1,1,", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeOneField", raw("1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeSixFields", raw("1,1,1,1,1,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"SizeBeyond64Bits", raw("18446744073709551616,1", "uint8"), g_sizeHelp.c_str()},
        WrongValue{"UnknownType", raw("1,1", "uint64"),
                   "--type takes one of uint8, int8, uint16, int16, uint32, int32, real32, binary, label8, "
                   "label16, label32; not \"uint64\""},
        WrongValue{"OffsetNegative", raw("1,1", "uint8") + Arguments{"--offset", "-1"},
                   "--offset takes a whole number in digits, such as 512; not \"-1\""},
        WrongValue{"OffsetEmpty", raw("1,1", "uint8") + Arguments{"--offset", ""},
                   "--offset takes a whole number in digits"},
        WrongValue{"OffsetHexadecimal", raw("1,1", "uint8") + Arguments{"--offset", "0x10"},
                   "--offset takes a whole number in digits"},
        WrongValue{"ByteOrder", raw("1,1", "uint8") + Arguments{"--byte-order", "middle"},
                   "--byte-order takes one of little, big; not \"middle\""},
        WrongValue{"Format", raw("1,1", "uint8") + Arguments{"--format", "png"},
                   "--format takes one of raw, tiff, im6; not \"png\""}),
    getName<WrongValue>);

TEST_F(Usage, AFileOfAnUnknownExtensionWithoutSizesIsNamed) {
    create("good.tif", "");
    create("in.png", "x");
    expectFailure(runTool({"info", path("good.tif"), path("in.png")}), 2,
                  "a raw file does not say what is in it: it takes --size X,Y[,Z[,C[,T]]] and --type TYPE, "
                  "such as --size 181,217,181 --type uint8; \"" +
                      path("in.png") + "\" is read as one unless --format says tiff or im6");
}

TEST_F(Usage, ARawInputThatCannotBeReadIsToldWithTheReasonWhateverElseIsMissing) {
    create("file", "x");
    boost::filesystem::create_symlink("loop", _folder / "loop");
    boost::filesystem::create_directory(_folder / "folder");
    for (auto const& [name, reason] :
         std::vector<std::pair<std::string, std::string>>{{"none", "No such file or directory"},
                                                          {"folder", "Is a directory"},
                                                          {"file/x", "Not a directory"},
                                                          {"loop", "Too many levels of symbolic links"}}) {
        for (Arguments const& options : {Arguments{}, raw("1,1", "uint8")}) {
            std::string const message = "cannot read \"" + path(name) + "\": " + reason;
            expectFailure(runTool(Arguments{"info", path(name)} + options), 1, message);
            expectFailure(runTool(Arguments{"convert", path(name), path("out.raw")} + options), 1, message);
        }
    }
}

TEST_F(Usage, OptionsOfARawInputAreRefusedForAnIm6File) {
    std::string const input = create("a.im6", "x");
    ToolResult const result = runTool(Arguments{"info", input} + raw("1,1", "uint8"));
    EXPECT_EQ(2, result.status);
    EXPECT_THAT(result.err, HasSubstr("--size"));
    expectDone(runTool({"info", input, "--format", "raw", "--size", "1,1", "--type", "uint8"}));
}

TEST_F(Usage, AReaderOfTheOutputThatGoesAwayIsNoFailure) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    std::string const input = create("in.raw", "x");
    ToolProcess process(Arguments{"info", input} + raw("1,1", "uint8"), ends[1]);
    close(ends[1]);
    expectDone(process.wait());
}

TEST_F(Usage, AnOutputThatCannotBeWrittenIsAFailure) {
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    std::string const input = create("in.raw", "x");
    ToolProcess process(Arguments{"info", input} + raw("1,1", "uint8"), full);
    close(full);
    expectFailure(process.wait(), 1, "cannot write to standard output: No space left on device");
}

} // namespace velmo::test
