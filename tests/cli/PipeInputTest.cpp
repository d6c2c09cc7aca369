// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "PipeFixture.h"

namespace velmo::test {

using testing::HasSubstr;

TEST_F(Pipe, RawPlanesComeFromStandardInputUnderEachOfItsNames) {
    create("in.raw", "ABCDEFGH");
    for (char const* const name : {"-", "/dev/stdin", "/dev/fd/0"}) {
        SCOPED_TRACE(name);
        std::string const line = std::string(" | $tool convert ") + name + " out.raw --overwrite" + g_raw;
        expectDone(runScript("cat in.raw" + line));
        EXPECT_EQ("ABCDEFGH", read("out.raw"));
        expectDone(runScript("(printf AB; sleep 0.1; printf CDEF; sleep 0.1; printf GH)" + line));
        EXPECT_EQ("ABCDEFGH", read("out.raw"));
    }
    expectDone(runScript("$tool convert <(cat in.raw) out.raw --overwrite" + g_raw));
    EXPECT_EQ("ABCDEFGH", read("out.raw"));
    expectDone(runScript("cat in.raw | $tool convert - out.tif" + g_raw));
    EXPECT_EQ("EFGH", readTiff(path("out.tif")).at(1).pixels);
    expectDone(runScript("cat in.raw | $tool preview - out.png" + g_raw));
    ToolResult const described = runScript("cat in.raw | $tool info --check -" + g_raw);
    expectDone(described);
    EXPECT_THAT(described.out, hasWords("-\n  format      raw\n", "X 2, Y 2, Z 2"));
}

TEST_F(Pipe, AnOffsetAndAByteOrderApplyToStandardInput) {
    create("in.raw", "headA1B2");
    expectDone(runScript(
        "cat in.raw | $tool convert - out.raw --size 2,1 --type uint16 --offset 4 --byte-order big"));
    EXPECT_EQ("1A2B", read("out.raw"));
}

TEST_F(Pipe, AStandardInputThatIsAFileIsReadFromItsPosition) {
    create("in.raw", "headABCDEFGH");
    expectDone(runScript("(head -c 4 >/dev/null; $tool convert - out.raw" + g_raw + ") <in.raw"));
    // what head reads ahead it gives back to a file
    EXPECT_EQ("ABCDEFGH", read("out.raw"));
    writeInput("abcdef");
    EXPECT_THAT(runScript("$tool info - <in.tif").out, HasSubstr("format      tiff"));
}

TEST_F(Pipe, AShortInputIsAnErrorThatSaysHowManyBytesCame) {
    for (char const* const command : {"convert - out.raw", "info -", "preview - out.png"}) {
        ToolResult const result = runScript("printf ABCDE | $tool " + (command + g_raw) + "--offset 1");
        expectFailure(result, 1, "\"-\"", "after 5 of 9 bytes");
    }
    expectFailure(runScript("$tool info - --size 2,2 --type uint8"), 1, "after 0 of 4 bytes");
    EXPECT_EQ(std::vector<std::string>{"s"}, list());
}

TEST_F(Pipe, ALongerInputIsWarnedOfAndNotReadToItsEnd) {
    expectWarning(runScript("printf ABCDEFGHI | $tool convert - out.raw" + g_raw), "\"-\"", "larger",
                  "after the last plane");
    EXPECT_EQ("ABCDEFGH", read("out.raw"));
    expectWarning(runScript("set +o pipefail; yes | $tool convert - out.raw --overwrite" + g_raw), "larger");
    EXPECT_EQ("y\ny\ny\ny\n", read("out.raw"));
}

TEST_F(Pipe, StandardInputNeedsDimensionsAndRawPlanes) {
    expectFailure(runScript("printf ABCD | $tool info -"), 2, "\"-\"", "--size", "--type");
    writeInput("abcdef");
    expectFailure(runScript("cat in.tif | $tool info - --format tiff"), 1, "\"-\"", "not seekable");
    TerminalProcess process(Arguments{"info", "-"} + raw("1,1", "uint8"));
    ToolResult const result = process.wait();
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.out, hasWords("terminal", "redirect"));
}

TEST_F(Pipe, ATiffFileBehindStandardInputIsWarnedOfLikeANamedOne) {
    std::string const input = " <'" + (getForeignFolder() / "ij-hyperstack.tif").string() + "'";
    for (char const* const line :
         {"convert - out.tif", "project - flat.tif --along z --by max", "split - planes 'z<INDEX>.tif'"}) {
        ToolResult const result = runScript("$tool " + (line + input));
        EXPECT_EQ(0, result.status);
        EXPECT_THAT(result.err, hasWords("\"-\"", "axes Z 3, C 2, T 1", "velmo-image import FILE",
                                         "a copy lacks: ImageJ metadata"));
    }
    EXPECT_THAT(runScript("$tool info -" + input).out, HasSubstr("axes Z 3, C 2, T 1"));
    std::string const tiled = " <'" + (getForeignFolder() / "lt-u1-tiled.tif").string() + "'";
    expectFailure(runScript("$tool stats -" + tiled), 1, "tiled", "velmo-image import FILE");
}

TEST_F(Pipe, TheCommandThatImportsAFileWhoseNameBeginsWithADashWorks) {
    std::string const file = (getForeignFolder() / "ij-hyperstack.tif").string();
    ToolResult const result = runScript("cp '" + file + "' ./-h.tif; $tool convert -- -h.tif out.tif");
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, HasSubstr("velmo-image import ./-h.tif ./-h-imported.tif\n"));
    EXPECT_EQ(0, runScript("$tool import ./-h.tif ./-h-imported.tif").status);
}

TEST_F(Pipe, TheFileBehindStandardInputIsNotReplaced) {
    writeInput("abcdef");
    std::string const bytes = read("in.tif");
    for (char const* const line :
         {"convert - in.tif --z 0", "project - in.tif --along z --by max", "preview - in.tif"}) {
        expectFailure(runScript("$tool " + (line + std::string(" --overwrite <in.tif"))), 1, "\"in.tif\"",
                      "it is the input");
        EXPECT_EQ(bytes, read("in.tif"));
    }
    boost::filesystem::rename(_folder / "in.tif", _folder / "z0.tif");
    expectFailure(runScript("$tool split - . 'z<INDEX>.tif' --overwrite <z0.tif"), 1, "z0.tif",
                  "it is the input");
    EXPECT_EQ(bytes, read("z0.tif"));
}

TEST_F(Pipe, APictureIsNotWrittenToStandardOutput) {
    writeInput("abcdef");
    expectFailure(runScript("$tool preview in.tif - | cat"), 2, "standard output");
    EXPECT_THAT(list(), testing::ElementsAre("in.tif", "s"));
}

TEST_F(Pipe, AFileOfThatNameIsGivenWithItsFolder) {
    create("-", "ABCDEFGH");
    expectDone(runScript("$tool convert ./- ./out.raw" + g_raw));
    EXPECT_EQ("ABCDEFGH", read("out.raw"));
    expectDone(runScript("$tool convert out.raw ./- --overwrite" + g_raw));
    EXPECT_EQ("ABCDEFGH", read("-"));
}

TEST_F(Pipe, TheTemporaryFileIsInTheFolderOfTheUser) {
    create("in.raw", "ABCDEFGH");
    boost::filesystem::create_directory(_folder / "tmp");
    expectDone(runScript("cat in.raw | TMPDIR=tmp $tool convert - out.raw" + g_raw));
    EXPECT_TRUE(boost::filesystem::is_empty(_folder / "tmp"));
    expectFailure(runScript("cat in.raw | TMPDIR=none $tool convert - out.raw --overwrite" + g_raw), 1,
                  "\"none\"", "No such file or directory", "TMPDIR");
    expectFailure(
        runScript("head -c 10000 /dev/zero | (ulimit -f 1; $tool info - --size 100,100 --type uint8)"), 1,
        "temporary file", "File too large");
}

} // namespace velmo::test
