// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "ForeignFile.h"
#include "PngImage.h"

#include <csignal>
#include <cstdint>
#include <limits>

namespace velmo::test {

using testing::ElementsAre;
using Levels = std::vector<int>;

namespace {

class Preview : public CliTest {
  protected:
    ToolResult run(std::string const& bytes, Arguments const& options) const {
        return runTool(Arguments{"preview", create("in.raw", bytes), path("out.png"), "--overwrite"} +
                       options);
    }

    PngImage show(std::string const& bytes, Arguments const& options) const {
        expectDone(run(bytes, options));
        return readPng(_folder / "out.png");
    }

    template <class... Words>
    void expectWrongUse(Arguments const& options, Words const&... words) const {
        expectFailure(run(std::string(64, 'x'), options), 2, words...);
        EXPECT_EQ(std::vector<std::string>{"in.raw"}, list());
    }
};

} // namespace

TEST_F(Preview, AGreyPlaneShowsItsFirstRowOnTop) {
    PngImage const png = show(toBytes<std::uint8_t>({0, 51, 102, 153, 204, 255}), raw("3,2", "uint8"));
    EXPECT_EQ(3U, png.width);
    EXPECT_EQ(2U, png.height);
    EXPECT_EQ(1U, png.nbChannels);
    EXPECT_EQ((Levels{0, 51, 102, 153, 204, 255}), png.pixels);
}

TEST_F(Preview, TheLeastValueIsBlackAndTheGreatestWhite) {
    EXPECT_EQ((Levels{0, 128, 255}), show(toBytes<std::int16_t>({-100, 0, 100}), raw("3,1", "int16")).pixels);
    EXPECT_EQ((Levels{0, 128, 255}),
              show(toBytes<std::uint16_t>({1000, 2000, 3000}), raw("3,1", "uint16")).pixels);
    EXPECT_EQ((Levels{0, 255, 255}), show(toBytes<std::int8_t>({-128, 127, 127}), raw("3,1", "int8")).pixels);
    EXPECT_EQ(
        (Levels{0, 128, 255}),
        show(toBytes<std::uint32_t>({4294967293U, 4294967294U, 4294967295U}), raw("3,1", "uint32")).pixels);
    EXPECT_EQ((Levels{0, 128, 255}), show(toBytes<float>({-0.5F, 0.0F, 0.5F}), raw("3,1", "real32")).pixels);
}

TEST_F(Preview, AGivenRangeIsHeldAndWhatIsOutsideIsClamped) {
    EXPECT_EQ((Levels{0, 0, 51, 255, 255}), show(toBytes<std::int32_t>({-90, -10, -8, 0, 90}),
                                                 raw("5,1", "int32") + Arguments{"--range", "-10,0"})
                                                .pixels);
}

TEST_F(Preview, AConstantImageIsBlack) {
    EXPECT_EQ((Levels{0, 0}), show(toBytes<std::uint8_t>({7, 7}), raw("2,1", "uint8")).pixels);
}

TEST_F(Preview, WhatIsNotANumberIsBlackAndDoesNotTouchTheRange) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    float const infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ((Levels{0, 0, 255, 255, 0}),
              show(toBytes<float>({nan, 1, 2, infinity, -infinity}), raw("5,1", "real32")).pixels);
    EXPECT_EQ((Levels{0, 0}), show(toBytes<float>({nan, nan}), raw("2,1", "real32")).pixels);
}

TEST_F(Preview, BinaryPixelsAreBlackAndWhite) {
    EXPECT_EQ((Levels{0, 255, 255}), show(std::string("\0\1\xff", 3), raw("3,1", "binary")).pixels);
    EXPECT_EQ((Levels{255, 255}), show("\1\1", raw("2,1", "binary")).pixels);
    EXPECT_EQ((Levels{0, 0}), show(std::string(2, '\0'), raw("2,1", "binary")).pixels);
}

TEST_F(Preview, ThePlaneIsChosenByItsIndexes) {
    std::string bytes;
    for (int plane = 0; plane < 3 * 2 * 2; ++plane) {
        bytes += static_cast<char>(plane); // (t, c, z) order
    }
    Arguments const options = raw("1,1,3,2,2", "uint8") + Arguments{"--range", "0,255"};
    EXPECT_EQ(Levels{1}, show(bytes, options).pixels) << "the middle plane of the first channel and step";
    EXPECT_EQ(Levels{2}, show(bytes, options + Arguments{"--z", "2"}).pixels);
    EXPECT_EQ(Levels{3}, show(bytes, options + Arguments{"--z", "0", "--c", "1"}).pixels);
    EXPECT_EQ(Levels{11}, show(bytes, options + Arguments{"--z", "2", "--c", "1", "--t", "1"}).pixels);
}

TEST_F(Preview, AnImageOfThreeChannelsIsShownInColour) {
    std::string const bytes = toBytes<std::uint8_t>({0, 10, 20, 30, 40, 255});
    PngImage const png = show(bytes, raw("2,1,1,3", "uint8"));
    EXPECT_EQ(3U, png.nbChannels);
    EXPECT_EQ((Levels{0, 20, 40, 10, 30, 255}), png.pixels);
    PngImage const green = show(bytes, raw("2,1,1,3", "uint8") + Arguments{"--c", "1", "--range", "0,255"});
    EXPECT_EQ(1U, green.nbChannels);
    EXPECT_EQ((Levels{20, 30}), green.pixels);
}

TEST_F(Preview, BigEndianValuesAreSwappedBeforeTheyAreShown) {
    EXPECT_EQ((Levels{0, 1, 255}),
              show(std::string("\0\0\0\1\0\xff", 6), raw("3,1", "uint16") + Arguments{"--byte-order", "big"})
                  .pixels);
}

TEST_F(Preview, AMontageShowsAllPlanesRowByRow) {
    std::string bytes;
    for (int plane = 0; plane < 5; ++plane) {
        bytes += toBytes<std::uint8_t>({static_cast<std::uint8_t>(10 * plane + 1), 255});
    }
    PngImage const png = show(bytes, raw("2,1,5", "uint8") + Arguments{"--montage", "--range", "0,255"});
    EXPECT_EQ(6U, png.width);
    EXPECT_EQ(2U, png.height);
    EXPECT_EQ((Levels{1, 255, 11, 255, 21, 255, 31, 255, 41, 255, 0, 0}), png.pixels);
}

TEST_F(Preview, AMontageOfASecondStepAndColoursKeepsThemTogether) {
    std::string bytes;
    for (int plane = 0; plane < 2 * 3 * 2; ++plane) {
        bytes += static_cast<char>(plane);
    }
    PngImage const png =
        show(bytes, raw("1,1,2,3,2", "uint8") + Arguments{"--montage", "--t", "1", "--range", "0,255"});
    EXPECT_EQ((Levels{6, 8, 10, 7, 9, 11}), png.pixels);
}

TEST_F(Preview, AVolumeOfManyPlanesIsReadOnce) {
    std::string const bytes(181UL * 217 * 181, 'x');
    ToolProcess process(Arguments{"preview", create("in.raw", bytes), path("out.png"), "--montage"} +
                        raw("181,217,181", "uint8"));
    ASSERT_TRUE(process.waitForEnd());
    unsigned long const nbRead = countReadBytes(process.getPid());
    expectDone(process.wait());
    EXPECT_GE(nbRead, bytes.size());
    EXPECT_LT(nbRead, 2 * bytes.size());
    PngImage const png = readPng(_folder / "out.png");
    EXPECT_EQ(14U * 103, png.width);
    EXPECT_EQ(13U * 123, png.height);
}

TEST_F(Preview, AReducedPictureShowsMeans) {
    std::string const bytes =
        toBytes<std::uint8_t>({0, 4, 20, 24, 8, 12, 28, 32, 100, 100, 200, 200, 100, 100, 200, 200});
    PngImage const png = show(bytes, raw("4,4", "uint8") + Arguments{"--max-size", "2", "--range", "0,255"});
    EXPECT_EQ((Levels{6, 26, 100, 200}), png.pixels);
}

TEST_F(Preview, MeansLeaveOutWhatIsNotANumber) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ((Levels{8, 0}), show(toBytes<float>({nan, 8, nan, nan}),
                                   raw("4,1", "real32") + Arguments{"--max-size", "2", "--range", "0,255"})
                                  .pixels);
}

TEST_F(Preview, AReducedLabelImageShowsLabelsThatExist) {
    PngImage const png = show(toBytes<std::uint8_t>({1, 2, 3, 10, 20, 30, 7, 8, 9}),
                              raw("3,3", "label8") + Arguments{"--max-size", "1", "--range", "0,255"});
    EXPECT_EQ(Levels{20}, png.pixels);
}

TEST_F(Preview, TheLongerSideIsLimitedAndTheShapeKept) {
    PngImage const wide =
        show(std::string(200UL * 50, 'x'), raw("200,50", "uint8") + Arguments{"--max-size", "100"});
    EXPECT_EQ(100U, wide.width);
    EXPECT_EQ(25U, wide.height);
    PngImage const tall =
        show(std::string(50UL * 200, 'x'), raw("50,200", "uint8") + Arguments{"--max-size", "100"});
    EXPECT_EQ(25U, tall.width);
    EXPECT_EQ(100U, tall.height);
    PngImage const line = show(std::string(5000, 'x'), raw("5000,1", "uint8"));
    EXPECT_EQ(1600U, line.width);
    EXPECT_EQ(1U, line.height);
}

TEST_F(Preview, ASmallPictureIsNotEnlarged) {
    EXPECT_EQ(2U, show("xxxx", raw("2,2", "uint8") + Arguments{"--max-size", "16384"}).width);
}

TEST_F(Preview, APlaneOfHostileSizesIsNotAllocated) {
    std::string const input = createSparse("huge.raw", 1UL << 40);
    TerminalProcess process(Arguments{"preview", input, path("out.png")} + raw("1099511627776,1", "uint8"));
    ASSERT_TRUE(process.waitFor(" %"));
    process.send(SIGINT);
    ToolResult const result = process.wait();
    EXPECT_EQ(130, result.status);
    EXPECT_LT(result.maxRss, 1L << 20);
}

TEST_F(Preview, MorePlanesThanTheMontageHasPixelsForAreRefused) {
    std::string const input = createSparse("huge.raw", 1UL << 40);
    ToolResult const result = runTool(Arguments{"preview", input, path("out.png"), "--montage"} +
                                      raw("1,1,1099511627776", "uint8"));
    expectFailure(result, 2, "1099511627776 planes", "--max-size 1600", "--montage");
}

TEST_F(Preview, IndexesOutsideOfTheImageAreWrongUse) {
    Arguments const options = raw("1,1,2,2,2", "uint8");
    for (char const* const option : {"--z", "--c", "--t"}) {
        expectWrongUse(options + Arguments{option, "2"}, option + std::string(" 2"), "0 to 1\n");
    }
    expectWrongUse(options + Arguments{"--z", "-1"}, "--z", "\"-1\"");
}

TEST_F(Preview, OptionsThatDoNotFitAreWrongUse) {
    Arguments const options = raw("2,2,2", "uint8");
    expectWrongUse(options + Arguments{"--z", "1", "--montage"}, "--z", "excludes", "--montage");
    for (char const* const size : {"0", "16385", "x", "-1", "1.5"}) {
        expectWrongUse(options + Arguments{"--max-size", size}, "--max-size must be");
    }
    for (char const* const range : {"1", "1,1", "2,1", "nan,1", "0,inf", "1,2,3", ",", "0,1x", "0, 1"}) {
        expectWrongUse(options + Arguments{"--range", range}, "--range must be LO,HI");
    }
}

TEST_F(Preview, AMissingInputFailsWithTheReason) {
    std::string const input = path("none.raw");
    expectFailure(runTool(Arguments{"preview", input, path("out.png")} + raw("1,1", "uint8")), 1, input,
                  "No such file or directory");
}

TEST_F(Preview, ANameOfAnotherKindOfPictureIsWarnedOf) {
    std::string const input = create("in.raw", "x");
    for (auto const& [name, bWarns] : std::vector<std::pair<std::string, bool>>{
             {"a.jpg", true}, {"a.png.tif", true}, {"a.png", false}, {"a.PNG", false}, {"a", false}}) {
        ToolResult const result = runTool(Arguments{"preview", input, path(name)} + raw("1,1", "uint8"));
        bWarns ? expectWarning(result, path(name), "PNG") : expectDone(result);
        EXPECT_EQ("\x89PNG", read(name).substr(0, 4));
    }
}

TEST_F(Preview, AnExistingOutputIsRefusedWithoutOverwrite) {
    std::string const input = create("in.raw", "x");
    std::string const output = create("out.png", "earlier");
    expectFailure(runTool(Arguments{"preview", input, output} + raw("1,1", "uint8")), 1, output, "exists",
                  "--overwrite");
    EXPECT_EQ("earlier", read("out.png"));
}

TEST_F(Preview, TheInputIsNotReplaced) {
    for (std::string const name : {"in.raw", "in.html"}) {
        std::string const file = create(name, "abcd");
        expectFailure(runTool(Arguments{"preview", file, file, "--overwrite"} + raw("2,2", "uint8")), 1, file,
                      "it is the input");
        EXPECT_EQ("abcd", read(name));
    }
}

TEST_F(Preview, AFileThatCanBeImportedIsAnErrorWithTheCommand) {
    std::string const tiled = (getForeignFolder() / "lt-u1-tiled.tif").string();
    for (char const* const name : {"out.png", "out.html"}) {
        expectFailure(runTool({"preview", tiled, path(name)}), 1, "tiled",
                      "To import it: velmo-image import " + tiled);
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(Preview, AFailedPictureLeavesNothing) {
    std::string const input = create("in.raw", "x");
    expectFailure(runTool(Arguments{"preview", input, "/dev/full"} + raw("1,1", "uint8")), 1,
                  "cannot write \"/dev/full\": ");
    EXPECT_EQ(1, runTool(Arguments{"preview", input, path("no/out.png")} + raw("1,1", "uint8")).status);
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

} // namespace velmo::test
