// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"
#include "SoftLimit.h"

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;

namespace {

class Stack : public SeriesFixture {
  protected:
    Arguments stack(std::string const& pattern, Arguments const& options = {}) const {
        return Arguments{"stack", path("s"), pattern, path("out.raw")} + options;
    }

    /// The raw planes of a stack that gives no warning.
    std::string stackToRaw(std::string const& pattern, Arguments const& options = {}) const {
        expectDone(runTool(stack(pattern, Arguments{"--overwrite"} + options)));
        return read("out.raw");
    }

    std::string bare(std::string const& name) const { return (_folder / "s" / name).string(); }
    std::string inQuotes(std::string const& name) const { return '"' + bare(name) + '"'; }
};

} // namespace

TEST_F(Stack, NumbersOrderTheFilesNotTheirNames) {
    put("a10.tif", "tenten");
    put("a2.tif", "twotwo");
    put("a3.tif", "three!");
    put("b1.tif", "oneone");
    expectWarning(runTool(stack("a<INDEX>.tif")), "missing 4-9\n");
    EXPECT_EQ("twotwothree!tenten", read("out.raw"));
}

TEST_F(Stack, WithoutANumberTheNamesOrderTheFiles) {
    put("a10.tif", "tenten");
    put("a2.tif", "twotwo");
    EXPECT_EQ("tententwotwo", stackToRaw("a*.tif"));
}

TEST_F(Stack, AlongZFilesOfAnyDepthBecomeOneVolume) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijklmnopqr");
    expectDone(runTool({"stack", path("s"), "a<INDEX>.tif", path("out.tif"), "--compression", "lzw"}));
    json const description = describe("out.tif");
    EXPECT_EQ(3, description.at("sizeZ"));
    EXPECT_EQ(1, description.at("sizeT"));
    EXPECT_EQ("abcdef", readTiff(path("out.tif")).at(0).pixels);
    EXPECT_EQ("mnopqr", readTiff(path("out.tif")).at(2).pixels);
    EXPECT_EQ(COMPRESSION_LZW, readTiff(path("out.tif")).at(1).compression);
}

TEST_F(Stack, AlongTEachFileIsATimeStep) {
    put("t1.tif", "abcdefghijkl");
    put("t2.tif", "mnopqrstuvwx");
    expectDone(runTool({"stack", path("s"), "t<INDEX>.tif", path("out.tif"), "--along", "t"}));
    json const description = describe("out.tif");
    EXPECT_EQ(2, description.at("sizeZ"));
    EXPECT_EQ(2, description.at("sizeT"));
    EXPECT_EQ("abcdefghijklmnopqrstuvwx", stackToRaw("t<INDEX>.tif", {"--along", "t"}));
}

TEST_F(Stack, TheCalibrationOfTheFirstFileIsKept) {
    TiffPage calibrated = page("abcdef");
    calibrated.resolution = 100;
    writeTiff(bare("a1.tif"), {calibrated});
    put("a2.tif", "ghijkl");
    expectDone(runTool({"stack", path("s"), "a<INDEX>.tif", path("out.tif")}));
    EXPECT_NEAR(0.01, describe("out.tif").at("calibration").at("x"), 1e-6);
}

TEST_F(Stack, TheUserPropertiesOfTheFirstFileAreKept) {
    saveVolume(bare("a1.tif"), 1, "of a1");
    saveVolume(bare("a2.tif"), 1, "of a2");
    for (char const* const axis : {"z", "t"}) {
        expectDone(
            runTool({"stack", path("s"), "a<INDEX>.tif", path("out.tif"), "--along", axis, "--overwrite"}));
        EXPECT_EQ("of a1", describe("out.tif").at("userProperties"));
    }
}

TEST_F(Stack, AnOutputThatOthersShowAsANegativeIsWarnedOfOnce) {
    for (char const* const name : {"a1.tif", "a2.tif"}) {
        TiffPage white = page("abcdef");
        white.photometric = PHOTOMETRIC_MINISWHITE;
        writeTiff(bare(name), {white});
    }
    expectWarning(runTool(stack("a<INDEX>.tif")), '"' + path("s") + '"', "minimum is white");
    EXPECT_EQ("abcdefabcdef", read("out.raw"));
}

TEST_F(Stack, ColoursComeOutByChannel) {
    for (char const* const name : {"a1.tif", "a2.tif"}) {
        TiffPage colours = page(name[1] == '1' ? "rgbrgbrgbrgbrgbrgb" : "RGBRGBRGBRGBRGBRGB");
        colours.samples = 3;
        colours.photometric = PHOTOMETRIC_RGB;
        writeTiff(bare(name), {colours});
    }
    EXPECT_EQ("rrrrrrRRRRRRggggggGGGGGGbbbbbbBBBBBB", stackToRaw("a<INDEX>.tif"));
}

TEST_F(Stack, ASingleMatchKeepsItsDirectoriesAlongTheAxis) {
    put("only1.tif", "abcdefghijkl");
    for (auto const& [axis, sizes] : {std::pair{"z", std::pair{2, 1}}, {"t", {1, 2}}}) {
        expectDone(runTool(
            {"stack", path("s"), "only<INDEX>.tif", path("out.tif"), "--along", axis, "--overwrite"}));
        EXPECT_EQ(sizes.first, describe("out.tif").at("sizeZ"));
        EXPECT_EQ(sizes.second, describe("out.tif").at("sizeT"));
    }
}

TEST_F(Stack, ASingleMatchIsOpenedForReadingOnly) {
    TiffPage bits = page("\xA0\x40"); // cannot be opened for writing
    bits.bits = 1;
    writeTiff(bare("a1.tif"), {bits});
    EXPECT_EQ(std::string("\1\0\1\0\1\0", 6), stackToRaw("a<INDEX>.tif", {"--pixels", "binary"}));
}

TEST_F(Stack, OfEqualNumbersOneIsTakenWithAWarning) {
    put("a1.tif", "abcdef");
    boost::filesystem::copy_file(bare("a1.tif"), bare("a01.tif"));
    expectWarning(runTool(stack("a<INDEX>.tif")), "ignored \"a", "number 1 of \"a");
    EXPECT_EQ("abcdef", read("out.raw"));
    put("a2.tif", "ghijkl");
    expectWarning(runTool(stack("a<INDEX>.tif", {"--overwrite"})), "ignored");
    EXPECT_EQ("abcdefghijkl", read("out.raw"));
}

TEST_F(Stack, WithStrictAGapIsAFailureBeforeAnyWork) {
    put("a1.tif", "abcdef");
    put("a3.tif", "ghijkl");
    expectNoOutput(stack("a<INDEX>.tif", {"--strict"}), 1, "missing 2\n");
    put("a2.tif", "mnopqr");
    EXPECT_EQ("abcdefmnopqrghijkl", stackToRaw("a<INDEX>.tif", {"--strict"}));
}

TEST_F(Stack, NoMatchAndNoDirectoryAreFailures) {
    expectNoOutput(stack("a<INDEX>.tif"), 1, '"' + path("s") + '"', "\"a<INDEX>.tif\"", "no files");
    expectNoOutput({"stack", path("none"), "*", path("out.raw")}, 1, path("none"),
                   "No such file or directory");
    put("a18446744073709551616.tif", "abcdef");
    expectNoOutput(stack("a<INDEX>.tif"), 1, "\"a18446744073709551616.tif\"", "64 bits");
    expectNoOutput(stack("a<INDEX>.tif|*"), 1, "(a<INDEX>.tif|*)", "mixing patterns");
}

TEST_F(Stack, AFileThatDiffersOrCannotBeReadIsNamed) {
    put("a1.tif", "abcdef");
    TiffPage wider = page("");
    wider.sizeX = 4;
    writeTiff(bare("a2.tif"), {wider});
    expectNoOutput(stack("a<INDEX>.tif"), 1, "SizeX mismatch", inQuotes("a1.tif") + " (3)",
                   inQuotes("a2.tif") + " (4)");
    create("s/a2.tif", "no TIFF file");
    expectNoOutput(stack("a<INDEX>.tif"), 1, "Error while loading tiff image file " + inQuotes("a2.tif"));
    for (char const* const name : {"b1.tif", "b2.tif"}) {
        TiffPage compressed = page("");
        compressed.compression = COMPRESSION_ADOBE_DEFLATE;
        writeTiff(bare(name), {compressed});
    }
    std::string bytes = read("s/b2.tif");
    bytes.replace(8, 4, "\xff\xff\xff\xff"); // where the strip begins
    create("s/b2.tif", bytes);
    expectNoOutput(stack("b<INDEX>.tif"), 1, bare("b2.tif"));
}

TEST_F(Stack, AnExistingOutputIsReplacedOnlyWhenAsked) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    create("out.raw", "earlier");
    expectFailure(runTool(stack("a<INDEX>.tif")), 1, path("out.raw"), "exists", "--overwrite");
    EXPECT_EQ("earlier", read("out.raw"));
    EXPECT_EQ("abcdefghijkl", stackToRaw("a<INDEX>.tif"));
}

TEST_F(Stack, AnOutputAmongTheFilesIsRefused) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    std::string const bytes = read("s/a2.tif");
    link("s/a2.tif", "link.tif");
    for (std::string const& output : {bare("a2.tif"), path("link.tif"), path("s/../s/a2.tif")}) {
        expectFailure(runTool({"stack", path("s"), "a<INDEX>.tif", output, "--overwrite"}), 1,
                      "cannot write \"" + output + '"', "input file \"a2.tif\"");
    }
    EXPECT_EQ(bytes, read("s/a2.tif"));
}

TEST_F(Stack, AHeaderGoesBeforeRawPlanes) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    EXPECT_EQ("headabcdefghijkl", stackToRaw("a<INDEX>.tif", {"--header", create("head", "head")}));
}

TEST_F(Stack, PixelsAreWhatTheOptionSays) {
    put("a1.tif", std::string("\0\1\0\1\0\1", 6));
    put("a2.tif", std::string("\1\0\1\0\1\0", 6));
    for (auto const& [pixels, type] :
         {std::pair{"default", "uint8"}, {"binary", "binary"}, {"label", "label8"}}) {
        expectDone(runTool(
            {"stack", path("s"), "a<INDEX>.tif", path("out.tif"), "--pixels", pixels, "--overwrite"}));
        EXPECT_EQ(type, describe("out.tif").at("pixelType"));
    }
}

TEST_F(Stack, StrangeNamesAreNames) {
    for (char const* const name : {"a b1%s.tif", "a\"b2%s.tif", "a\nb3%s.tif", "-b4%s.tif"}) {
        put(name, std::string(6, name[1]));
    }
    std::string const folder = path("-s t$'%n");
    boost::filesystem::rename(path("s"), folder);
    ToolResult const result = runTool({"stack", "--strict", "--", "-s t$'%n", "*b<INDEX>%s.tif", "-out.raw"},
                                      _folder.getPath().string());
    expectDone(result);
    EXPECT_EQ("      \"\"\"\"\"\"\n\n\n\n\n\nbbbbbb", read("-out.raw"));
}

TEST_F(Stack, MoreFilesThanTheSoftLimitOfOpenFilesAreJoined) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max < 256) {
        GTEST_SKIP() << "the system lets a process have " << limit.rlim_max << " open files";
    }
    std::string planes;
    for (int number = 0; number < 200; ++number) {
        std::string const pixels(6, static_cast<char>(number));
        put("a" + std::to_string(number) + ".tif", pixels);
        planes += pixels;
    }
    SoftLimit const softLimit(RLIMIT_NOFILE, 64);
    EXPECT_EQ(planes, stackToRaw("a<INDEX>.tif"));
}

TEST_F(Stack, ANameOfAPictureIsRefusedUnlessAFormatIsGiven) {
    put("a1.tif", "abcdef");
    Arguments const arguments = {"stack", path("s"), "*", path("out.png")};
    expectFailure(runTool(arguments), 2, "out.png\"", "picture");
    EXPECT_THAT(list(), ElementsAre("s"));
    expectDone(runTool(arguments + Arguments{"--output-format", "raw"}));
    EXPECT_EQ("abcdef", read("out.png"));
}

} // namespace velmo::test
