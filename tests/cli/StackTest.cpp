// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"
#include "SoftLimit.h"
#include "WrongOption.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

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

using WrongStack = WrongSeries;

} // namespace

TEST_F(Stack, NumbersOrderTheFilesNotTheirNames) {
    put("a10.tif", "tenten");
    put("a2.tif", "twotwo");
    put("a3.tif", "three!");
    put("b1.tif", "oneone");
    ToolResult const result = runTool(stack("a<INDEX>.tif"));
    EXPECT_EQ("velmo-image: warning: missing 4-9\n", result.err);
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
    for (char const* const name : {"a1", "a2"}) {
        image::ImagePtr pImage;
        ASSERT_TRUE(image::ImageFactory::getInstance().createDefaultImage(
            *image::geometry3d(image::eIBT_UInt8, 3, 2, 1), pImage));
        pImage->setUserPropertiesStr(std::string("of ") + name);
        image::file::saveTiffImageFile(bare(name + std::string(".tif")), pImage);
    }
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
    ToolResult const result = runTool(stack("a<INDEX>.tif"));
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("velmo-image: warning: \"" + path("s") +
                  "\": the least value is white: a copy has the same values, and other programs show it as a "
                  "negative\n",
              result.err);
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
    ToolResult result = runTool(stack("a<INDEX>.tif"));
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err,
                testing::MatchesRegex("velmo-image: warning: \"a0?1.tif\" is left out: it has the "
                                      "index 1 of \"a0?1.tif\", which comes first\n"));
    EXPECT_EQ("abcdef", read("out.raw"));
    put("a2.tif", "ghijkl");
    result = runTool(stack("a<INDEX>.tif", {"--overwrite"}));
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.err, HasSubstr("is left out"));
    EXPECT_EQ("abcdefghijkl", read("out.raw"));
}

TEST_F(Stack, WithStrictAGapIsAFailureBeforeAnyWork) {
    put("a1.tif", "abcdef");
    put("a3.tif", "ghijkl");
    expectNoOutput(stack("a<INDEX>.tif", {"--strict"}), "missing 2");
    put("a2.tif", "mnopqr");
    EXPECT_EQ("abcdefmnopqrghijkl", stackToRaw("a<INDEX>.tif", {"--strict"}));
}

TEST_F(Stack, NoMatchAndNoDirectoryAreFailures) {
    expectNoOutput(stack("a<INDEX>.tif"),
                   "no file in \"" + path("s") + "\" matches \"a<INDEX>.tif\"; there is no file");
    expectNoOutput({"stack", path("none"), "*", path("out.raw")},
                   "cannot list \"" + path("none") + "\": No such file or directory");
    put("a18446744073709551616.tif", "abcdef");
    expectNoOutput(stack("a<INDEX>.tif"), "the number in \"a18446744073709551616.tif\" is beyond 64 bits");
    expectNoOutput(stack("a<INDEX>.tif|*"),
                   "Invalid pattern string (a<INDEX>.tif|*), mixing patterns with and without keyword "
                   "\"<INDEX>\"");
}

TEST_F(Stack, AFileThatDiffersIsToldInTheWordsOfTheLibrary) {
    put("a1.tif", "abcdef");
    TiffPage wider = page("");
    wider.sizeX = 4;
    writeTiff(bare("a2.tif"), {wider});
    expectNoOutput(stack("a<INDEX>.tif"), "SizeX mismatch between input image read from " +
                                              inQuotes("a1.tif") + " (3) and input image read from " +
                                              inQuotes("a2.tif") + " (4)");
}

TEST_F(Stack, AFileThatIsNoTiffFileIsNamed) {
    put("a1.tif", "abcdef");
    create("s/a2.tif", "no TIFF file");
    ToolResult const result = runTool(stack("a<INDEX>.tif"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err,
                StartsWith("velmo-image: Error while loading tiff image file " + inQuotes("a2.tif")));
    EXPECT_FALSE(boost::filesystem::exists(path("out.raw")));
}

TEST_F(Stack, PixelsThatCannotBeReadAreAFailureThatNamesTheFile) {
    for (char const* const name : {"b1.tif", "b2.tif"}) {
        TiffPage compressed = page("");
        compressed.compression = COMPRESSION_ADOBE_DEFLATE;
        writeTiff(bare(name), {compressed});
    }
    std::string bytes = read("s/b2.tif");
    bytes.replace(8, 4, "\xff\xff\xff\xff"); // where the strip begins
    create("s/b2.tif", bytes);
    ToolResult const result = runTool(stack("b<INDEX>.tif"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, HasSubstr(bare("b2.tif")));
    EXPECT_THAT(list(), ElementsAre("s"));
}

TEST_F(Stack, AnExistingOutputIsReplacedOnlyWhenAsked) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    create("out.raw", "earlier");
    expectFailure(runTool(stack("a<INDEX>.tif")), 1,
                  '"' + path("out.raw") + "\" exists already; --overwrite replaces it");
    EXPECT_EQ("earlier", read("out.raw"));
    EXPECT_EQ("abcdefghijkl", stackToRaw("a<INDEX>.tif"));
}

TEST_F(Stack, AnOutputAmongTheFilesIsRefused) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    std::string const bytes = read("s/a2.tif");
    boost::filesystem::create_symlink("s/a2.tif", _folder / "link.tif");
    for (std::string const& output : {bare("a2.tif"), path("link.tif"), path("s/../s/a2.tif")}) {
        expectFailure(runTool({"stack", path("s"), "a<INDEX>.tif", output, "--overwrite"}), 1,
                      "cannot write \"" + output + "\": it is one of the files to read, \"a2.tif\"");
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
         {std::pair{"default", "eIBT_UInt8"}, {"binary", "eIBT_Binary"}, {"label", "eIBT_Label8"}}) {
        expectDone(runTool(
            {"stack", path("s"), "a<INDEX>.tif", path("out.tif"), "--pixels", pixels, "--overwrite"}));
        EXPECT_EQ(type, describe("out.tif").at("bufferType"));
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
    ToolResult const result = runTool(arguments);
    EXPECT_EQ(2, result.status);
    EXPECT_THAT(result.err, HasSubstr("out.png\" is the name of a picture"));
    EXPECT_THAT(list(), ElementsAre("s"));
    expectDone(runTool(arguments + Arguments{"--output-format", "raw"}));
    EXPECT_EQ("abcdef", read("out.png"));
}

TEST_P(WrongStack, IsRefusedBeforeAnyWork) {
    expectRefused("stack");
}

INSTANTIATE_TEST_SUITE_P(
    Options, WrongStack,
    testing::Values(
        WrongOption{"NoOutput", {"s", "*"}, "OUTPUT is required: "},
        WrongOption{"NoPattern", {"s"}, "PATTERN is required: "},
        WrongOption{"TooMany",
                    {"s", "*", "out.tif", "more"},
                    "stack takes DIRECTORY PATTERN OUTPUT, and \"more\" is one too many"},
        WrongOption{"Axis", {"s", "*", "out.tif", "--along", "x"}, "--along takes one of z, t; not \"x\""},
        WrongOption{"Pixels",
                    {"s", "*", "out.tif", "--pixels", "grey"},
                    "--pixels takes one of default, binary, label; not \"grey\""},
        WrongOption{"Compression",
                    {"s", "*", "out.tif", "--compression", "jpeg"},
                    "--compression takes one of none, lzw, deflate; not \"jpeg\""},
        WrongOption{
            "CompressionOfRaw", {"s", "*", "out.raw", "--compression", "lzw"}, "--compression is for"},
        WrongOption{"HeaderOfTiff", {"s", "*", "out.tif", "--header", "h"}, "--header is for a raw output"},
        WrongOption{"Im6", {"s", "*", "out.im6"}, "Im6 files are read and not written"},
        WrongOption{"Format",
                    {"s", "*", "out.tif", "--output-format", "png"},
                    "--output-format takes one of raw, tiff; not \"png\""}),
    getName<WrongOption>);

} // namespace velmo::test
