// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedTiff.h"
#include "SeriesFixture.h"
#include "SoftLimit.h"

#include <sstream>

namespace velmo::test {

using testing::HasSubstr;
using testing::StartsWith;

namespace {

class InfoTable : public SeriesFixture {
  protected:
    std::string write(std::string const& name, std::vector<TiffPage> const& pages) const {
        writeTiff(_folder / name, pages);
        return path(name);
    }

    static std::vector<std::string> toLines(std::string const& text) {
        std::istringstream stream(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    ToolResult run(Arguments const& arguments) const {
        return runTool(Arguments{"info", "--table"} + arguments, _folder.getPath().string());
    }
};

} // namespace

TEST_F(InfoTable, HasALineForEachFileWithAlignedColumns) {
    TiffPage wide = page("");
    wide.sizeX = 1234;
    wide.bits = 16;
    wide.resolution = 4;
    write("a.tif", {page("abcdef"), page("abcdef")});
    write("long-name.tif", {wide});
    ToolResult const result = run({"a.tif", "long-name.tif"});
    expectDone(result);
    EXPECT_EQ("file           format     X  Y  Z  C  T  pixels  colour  pixel size       bytes  state\n"
              "a.tif          tiff       3  2  2  1  1  uint8   grey    -                   12  ok\n"
              "long-name.tif  tiff    1234  2  1  1  1  uint16  grey    0.25 x 0.125 cm   4936  ok\n",
              result.out);
}

TEST_F(InfoTable, AFileThatCannotBeReadHasItsLineAndItsMessage) {
    write("a.tif", {page("abcdef")});
    create("b.tif", "no image");
    ToolResult const result = run({"a.tif", "none.tif", "b.tif"});
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, hasWords("none.tif", "Not a TIFF"));
    std::vector<std::string> const lines = toLines(result.out);
    ASSERT_EQ(4U, lines.size());
    EXPECT_THAT(lines[1], testing::MatchesRegex("a.tif  .* ok"));
    EXPECT_THAT(lines[2], testing::MatchesRegex("none.tif  tiff +- .* error"));
    EXPECT_THAT(lines[3], testing::MatchesRegex("b.tif     tiff +- .* error"));
}

TEST_F(InfoTable, TheCheckAddsErrorsAndWarnings) {
    TiffPage white = page("abcdef");
    white.photometric = PHOTOMETRIC_MINISWHITE;
    write("white.tif", {white});
    TiffPage other = page("");
    other.bits = 16;
    write("damaged.tif", {page("abcdef"), other});
    ToolResult const plain = run({"white.tif", "damaged.tif"});
    expectDone(plain);
    ToolResult const checked = run({"--check", "white.tif", "damaged.tif"});
    EXPECT_EQ(1, checked.status);
    EXPECT_THAT(checked.err, HasSubstr("1 cannot be read"));
    std::vector<std::string> const lines = toLines(checked.out);
    ASSERT_EQ(4U, lines.size());
    EXPECT_THAT(lines[1], testing::EndsWith("1 warning"));
    EXPECT_THAT(lines[2], testing::MatchesRegex("damaged.tif  tiff +3 .* error"));
    EXPECT_THAT(lines[3], StartsWith("warning: \"white.tif\": the minimum is white"));
}

TEST_F(InfoTable, NamesWithOtherLettersAndLineFeedsKeepTheColumns) {
    create("\xc3\xa4\xc3\xb6\xc3\xbc.raw", "x");
    create("new\nline.raw", "x");
    ToolResult const result =
        run(Arguments{"\xc3\xa4\xc3\xb6\xc3\xbc.raw", "new\nline.raw"} + raw("1,1", "uint8"));
    expectDone(result);
    std::vector<std::string> const lines = toLines(result.out);
    ASSERT_EQ(3U, lines.size());
    EXPECT_THAT(lines[1], StartsWith("\xc3\xa4\xc3\xb6\xc3\xbc.raw       raw "));
    EXPECT_THAT(lines[2], StartsWith("new?line.raw  raw "));
}

TEST_F(InfoTable, MoreFilesThanMayBeOpenAreDescribedByAnyNumberOfThreads) {
    Arguments files;
    for (int number = 0; number < 100; ++number) {
        put("f" + std::to_string(number) + ".tif", "abcdef");
        files.push_back(path("s/f" + std::to_string(number) + ".tif"));
    }
    SoftLimit const softLimit(RLIMIT_NOFILE, 40);
    for (Arguments const& options : {Arguments{"--table"}, {"--json"}, {}}) {
        std::string const once = runTool(Arguments{"info", "--threads", "1"} + options + files).out;
        for (char const* const threads : {"2", "3"}) {
            ToolResult const result =
                runTool(Arguments{"info", "--check", "--threads", threads} + options + files);
            expectDone(result);
            EXPECT_EQ(once, result.out);
        }
    }
}

} // namespace velmo::test
