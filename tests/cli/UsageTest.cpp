// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

namespace velmo::test {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Usage = CliTest;

} // namespace

TEST_F(Usage, TheVersionIsTold) {
    ToolResult const result = runTool({"--version"});
    expectDone(result);
    EXPECT_THAT(result.out, testing::MatchesRegex("velmo-image [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    ToolResult const shortOption = runTool({"-V"});
    expectDone(shortOption);
    EXPECT_EQ(result.out, shortOption.out);
}

TEST_F(Usage, HelpIsAlsoACommand) {
    EXPECT_EQ(runTool({"--help"}).out, runTool({"help"}).out);
    EXPECT_EQ(runTool({"--help"}).out, runTool({"help", "--help"}).out);
    for (char const* const command : {"info", "convert", "match"}) {
        ToolResult const result = runTool({"help", command});
        expectDone(result);
        EXPECT_EQ(runTool({command, "--help"}).out, result.out);
    }
}

TEST_F(Usage, ANameWithADashIsReadAfterTwoDashesAndWithAFolder) {
    create("-x.raw", "x");
    std::string const folder = _folder.getPath().string();
    expectDone(runTool(Arguments{"info"} + raw("1,1", "uint8") + Arguments{"--", "-x.raw"}, folder));
    expectDone(runTool(Arguments{"info", "./-x.raw"} + raw("1,1", "uint8"), folder));
}

TEST_F(Usage, TheHelpFitsTheTerminal) {
    for (unsigned short const nbColumns : std::vector<unsigned short>{40, 60, 80, 100, 200}) {
        for (Arguments const& arguments : {Arguments{"--help"}, {"convert", "--help"}, {"help", "import"}}) {
            TerminalProcess process(arguments, nbColumns);
            ToolResult const result = process.wait();
            EXPECT_EQ(0, result.status);
            std::istringstream help(result.out);
            std::size_t longest = 0;
            for (std::string line; std::getline(help, line) && line != "Examples:\r";) {
                longest = std::max(longest, line.size() - 1); // without the carriage return
            }
            EXPECT_LE(longest, std::min<std::size_t>(nbColumns, 120)) << result.out;
            EXPECT_LT(nbColumns > 100 ? 100U : nbColumns * 3U / 4, longest) << result.out;
        }
    }
}

TEST_F(Usage, ATerminalThatDoesNotTellItsWidthIsTakenFor80Columns) {
    TerminalProcess process({"import", "--help"}, 0);
    std::istringstream help(process.wait().out);
    for (std::string line; std::getline(help, line) && line != "Examples:\r";) {
        EXPECT_LE(line.size(), 81U) << line;
    }
}

TEST_F(Usage, TheHelpNamesTheCommandsAndTheExitStatuses) {
    ToolResult const result = runTool({"--help"});
    expectDone(result);
    for (char const* const text :
         {"info", "convert", "import", "preview", "stack", "resample", "match", "130 interrupted"}) {
        EXPECT_THAT(result.out, HasSubstr(text));
    }
}

TEST_F(Usage, TheHelpOfEachCommandEndsWithExamples) {
    for (char const* const command : {"info", "convert", "import", "preview", "stack", "resample", "match"}) {
        ToolResult const result = runTool({command, "--help"});
        expectDone(result);
        std::size_t const examples = result.out.find("\nExamples:\n  velmo-image " + std::string(command));
        ASSERT_NE(std::string::npos, examples) << result.out;
        EXPECT_EQ(std::string::npos, result.out.find("\n\n", examples)) << result.out;
    }
}

TEST_F(Usage, TheHelpFitsInto80ColumnsButForItsExamplesAndLongWords) {
    for (char const* const command : {"info", "convert", "import", "preview", "stack", "resample", "match"}) {
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
                    ContainsRegex(" --format VALUE  *raw.tiff.im6: format"));
    }
    EXPECT_THAT(runTool({"convert", "--help"}).out,
                ContainsRegex(" --output-format VALUE +raw.tiff: format"));
}

TEST_F(Usage, AFileOfAnUnknownExtensionWithoutSizesIsNamed) {
    create("good.tif", "");
    create("in.png", "x");
    expectFailure(runTool({"info", path("good.tif"), path("in.png")}), 2, '"' + path("in.png") + '"',
                  "--size X,Y[,Z[,C[,T]]]", "--type TYPE", "--format tiff");
}

TEST_F(Usage, ARawInputThatCannotBeReadIsToldWithTheReasonWhateverElseIsMissing) {
    create("file", "x");
    link("loop", "loop");
    boost::filesystem::create_directory(_folder / "folder");
    for (auto const& [name, reason] :
         std::vector<std::pair<std::string, std::string>>{{"none", "No such file or directory"},
                                                          {"folder", "Is a directory"},
                                                          {"file/x", "Not a directory"},
                                                          {"loop", "Too many levels of symbolic links"}}) {
        for (Arguments const& options : {Arguments{}, raw("1,1", "uint8")}) {
            for (Arguments const& command :
                 {Arguments{"info", path(name)}, Arguments{"convert", path(name), path("out.raw")}}) {
                expectFailure(runTool(command + options), 1, '"' + path(name) + "\": " + reason);
            }
        }
    }
}

TEST_F(Usage, OptionsOfARawInputAreRefusedForAnIm6File) {
    std::string const input = create("a.im6", "x");
    expectFailure(runTool(Arguments{"info", input} + raw("1,1", "uint8")), 2, "--size");
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
    expectFailure(process.wait(), 1, "standard output", "No space left on device");
}

} // namespace velmo::test
