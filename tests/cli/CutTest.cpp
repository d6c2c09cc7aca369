// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"

namespace velmo::test {

using nlohmann::json;

namespace {

/// Conversions of parts of images, and of pixels to other types.
class Cut : public SeriesFixture {
  protected:
    /// The raw planes of a conversion without a warning.
    std::string convert(std::string const& input, Arguments const& options) const {
        expectDone(runTool(Arguments{"convert", path(input), path("out.raw"), "--overwrite"} + options));
        return read("out.raw");
    }

    /// Wrong use, explained with the name of the file; it leaves no output.
    template <class... Words>
    void expectRefusal(std::string const& input, Arguments const& options, Words const&... words) const {
        std::vector<std::string> const names = list();
        expectFailure(runTool(Arguments{"convert", path(input), path("out.raw")} + options), 2, path(input),
                      words...);
        EXPECT_EQ(names, list());
    }

    /// "in.tif" with pixels "abc", "def" and so on: 3 x 1 pixels, 2 planes, 1 channel, `nbSteps` time steps.
    void createSequence(std::string const& nbSteps) const {
        create("in.raw", "abcdefghijklmnopqr");
        ToolResult const result = runTool(Arguments{"convert", path("in.raw"), path("in.tif")} +
                                          raw("3,1,2,1," + nbSteps, "uint8"));
        EXPECT_EQ(0, result.status) << result.err;
    }
};

} // namespace

TEST_F(Cut, RangesOfPlanesIncludeTheirEnd) {
    put("a.tif", "abcdefghijklmnopqrstuvwx");
    EXPECT_EQ("ghijklmnopqr", convert("s/a.tif", {"--z", "1:2"}));
    EXPECT_EQ("mnopqr", convert("s/a.tif", {"--z", "2"}));
    EXPECT_EQ("mnopqrstuvwx", convert("s/a.tif", {"--z", "2:"}));
    EXPECT_EQ("abcdefghijkl", convert("s/a.tif", {"--z", ":1"}));
    EXPECT_EQ("abcdefmnopqr", convert("s/a.tif", {"--z", "::2"}));
    EXPECT_EQ("abcdefstuvwx", convert("s/a.tif", {"--z=0:3:3"}));
    EXPECT_EQ("abcdefghijklmnopqrstuvwx", convert("s/a.tif", {"--z", ":"}));
}

TEST_F(Cut, WhatTheImageDoesNotHaveIsWrongUse) {
    put("a.tif", "abcdefghijkl");
    expectRefusal("s/a.tif", {"--z", "2"}, "--z 2 does not exist", "2 planes, 0 to 1");
    expectRefusal("s/a.tif", {"--z", "1:2"}, "--z 2 does not exist");
    expectRefusal("s/a.tif", {"--z", "18446744073709551615"}, "--z 18446744073709551615 does not exist");
    expectRefusal("s/a.tif", {"--c", "1"}, "1 channels, 0 to 0");
    expectRefusal("s/a.tif", {"--t", "1:"}, "1 time steps, 0 to 0");
    for (char const* const region : {"3,0,1,1", "0,2,1,1", "1,0,3,1", "0,1,1,2", "0,0,18446744073709551615,1",
                                     "18446744073709551615,0,1,1"}) {
        expectRefusal("s/a.tif", {"--region", region}, "--region", region, "3 x 2 pixels");
    }
}

TEST_F(Cut, ARegionOfARawFileOfTheOtherByteOrderIsReadAsOne) {
    create("in.raw", std::string("\1\2\3\4\5\6\7\10\11\12\13\14", 12));
    Arguments const options = raw("3,2", "uint16") + Arguments{"--byte-order", "big", "--region", "1,0,2,2"};
    EXPECT_EQ(std::string("\4\3\6\5\12\11\14\13", 8), convert("in.raw", options));
    EXPECT_EQ(toBytes<float>({0x304, 0x506, 0x90a, 0xb0c}),
              convert("in.raw", options + Arguments{"--to-type", "real32"}));
}

TEST_F(Cut, APlaneIsFlatAndARangeIsAVolume) {
    createSequence("3");
    for (auto const& [z, t, bVolume, bSequence] :
         std::vector<std::tuple<char const*, char const*, bool, bool>>{
             {"1", "1", false, false}, {"1:1", "1:1", true, true}, {"1", "0:1", false, true}}) {
        expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--overwrite", "--z", z, "--t", t}));
        json const entry = describe("out.tif");
        EXPECT_EQ(bVolume, entry.at("isVolume"));
        EXPECT_EQ(bSequence, entry.at("isSequence"));
        EXPECT_EQ(1, entry.at("sizeZ"));
    }
    EXPECT_EQ("jkl", convert("in.tif", {"--z", "1", "--t", "1"}));
}

TEST_F(Cut, AStepOfPlanesMakesThemThickerAndTheRestOfTheCalibrationStays) {
    saveVolume(_folder / "in.tif", 5, "scanner");
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--z", "1::2"}));
    json const entry = describe("out.tif");
    json const calibration = {{"x", 0.65F}, {"y", 0.5}, {"z", 7}, {"unit", "um"}};
    EXPECT_EQ(calibration, entry.at("calibration"));
    EXPECT_EQ("scanner", entry.at("userProperties"));
    auto const pCalibration =
        image::file::openTiffImageFile(_folder / "out.tif")->getGeometricCalibrationConstPtr();
    EXPECT_EQ((std::array<float, 7>{4, 5, 6, 7, 8, 9, 10}), pCalibration->getFurtherTerms());
}

TEST_F(Cut, SomeChannelsOfColoursAreGreyButRgbaWithoutAlphaIsRgb) {
    create("in.raw", "rrggbbaa");
    Arguments const rgba = raw("2,1,1,4", "uint8");
    for (auto const& [channels, color, pixels] :
         std::vector<std::tuple<char const*, char const*, char const*>>{{"0:2", "rgb", "rrggbb"},
                                                                        {":", "rgba", "rrggbbaa"},
                                                                        {"1:3", "user", "ggbbaa"},
                                                                        {"3", "grey", "aa"}}) {
        expectDone(runTool(
            Arguments{"convert", path("in.raw"), path("out.tif"), "--overwrite", "--c", channels} + rgba));
        EXPECT_EQ(color, describe("out.tif").at("color"));
        EXPECT_EQ(pixels, convert("out.tif", {}));
    }
}

TEST_F(Cut, TimeStepsOfDifferentTypesKeepThemUnlessTheyAreConverted) {
    TiffPage wide = page(std::string("a\0b\0c\0d\0e\0f\0", 12));
    wide.bits = 16;
    put("t1.tif", "abcdef");
    writeTiff(_folder / "s" / "t2.tif", {wide});
    put("t3.tif", "ghijkl");
    expectDone(runTool({"stack", path("s"), "t<INDEX>.tif", path("in.tif"), "--along", "t"}));
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--t", "1:2", "--region", "1,0,2,1"}));
    EXPECT_EQ((json{"uint16", "uint8"}), describe("out.tif").at("pixelTypes"));
    EXPECT_EQ(std::string("b\0c\0hi", 6), convert("out.tif", {}));
    expectDone(runTool({"convert", path("in.tif"), path("out.tif"), "--t", "::2", "--overwrite"}));
    EXPECT_EQ("uint8", describe("out.tif").at("pixelType"));
    EXPECT_EQ("abcdefabcdefghijkl", convert("in.tif", {"--to-type", "uint8"}));
    std::vector<std::string> const names = list();
    expectFailure(runTool({"convert", path("in.tif"), path("imagej.tif"), "--imagej"}), 1, path("imagej.tif"),
                  "--to-type");
    EXPECT_EQ(names, list());
}

TEST_F(Cut, MasksAndLabelsStayWhatTheyAre) {
    create("in.raw", std::string("\0\1\1\0", 4));
    expectDone(runTool(Arguments{"convert", path("in.raw"), path("out.tif"), "--region", "1,0,1,2"} +
                       raw("2,2", "binary")));
    EXPECT_EQ("binary", describe("out.tif").at("pixelType"));
    EXPECT_EQ(std::string("\1\0", 2), convert("out.tif", {}));
}

TEST_F(Cut, EachByteOfAMaskButZeroIsConvertedToOne) {
    create("in.raw", std::string("\0\1\2\377", 4));
    Arguments const mask = raw("2,2", "binary");
    std::string const ones("\0\1\1\1", 4);
    EXPECT_EQ(ones, convert("in.raw", mask + Arguments{"--to-type", "uint8"}));
    EXPECT_EQ(ones, convert("in.raw", mask + Arguments{"--to-type", "binary"}));
    EXPECT_EQ(toBytes<float>({0, 1, 1, 1}),
              convert("in.raw", mask + Arguments{"--to-type", "real32", "--range", "0,1"}));
}

TEST_F(Cut, BillionsOfTimeStepsAreNotListed) {
    create("in.raw", "");
    boost::filesystem::resize_file(_folder / "in.raw", std::uint64_t{1} << 32);
    std::vector<Arguments> const edits = {{"--t", "0:"}, {"--imagej"}};
    for (Arguments const& edit : edits) {
        Arguments const line = Arguments{"convert", path("in.raw"), path("out.tif"), "--quiet"} +
                               raw("1,1,1,1,4294967296", "uint8") + edit;
        ToolResult const result = runTool(line);
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, hasWords("4294967296", "32767"));
        EXPECT_LT(result.maxRss, 1L << 20);
    }
}

TEST_F(Cut, ValuesThatAConversionChangesAreCountedOnce) {
    create("in.raw", toBytes<float>({0.4F, 300, -1, 2, 0.0F / 0.0F, 1.5F}));
    Arguments const line =
        Arguments{"convert", path("in.raw"), path("out.raw"), "--to-type", "uint8", "--overwrite"} +
        raw("3,2", "real32");
    expectWarning(runTool(line), path("out.raw"), "2 values were clamped to 0 or 255",
                  "2 values were rounded", "1 NaN became 0");
    EXPECT_EQ(std::string("\0\377\0\2\0\2", 6), read("out.raw"));
    expectWarning(runTool(line + Arguments{"--region", "0,0,1,1"}), "1 value was rounded");
    EXPECT_EQ(std::string("\0", 1), read("out.raw"));
}

TEST_F(Cut, APartIsNotWrittenOverItsInput) {
    put("a.tif", "abcdefghijkl");
    std::string const bytes = read("s/a.tif");
    for (Arguments const& edit : {Arguments{"--z", "0"}, {"--to-type", "real32"}, {"--pixel-size", "1,1"}}) {
        expectFailure(runTool(Arguments{"convert", path("s/a.tif"), path("s/a.tif"), "--overwrite"} + edit),
                      1, path("s/a.tif"), "it is the input");
    }
    EXPECT_EQ(bytes, read("s/a.tif"));
}

TEST_F(Cut, ColoursThatImageJDoesNotOpenAreAFailure) {
    create("in.raw", std::string(96, 'x'));
    for (auto const& [size, type, word] : std::vector<std::tuple<char const*, char const*, char const*>>{
             {"2,1,1,3", "real32", "RGB of uint8 and uint16"}, {"2,1,1,4", "uint16", "RGBA of uint8"}}) {
        std::vector<std::string> const names = list();
        ToolResult const result =
            runTool(Arguments{"convert", path("in.raw"), path("out.tif"), "--imagej"} + raw(size, type));
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, hasWords(path("out.tif"), word));
        EXPECT_EQ(names, list());
    }
}

} // namespace velmo::test
