// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileSizeLimit.h"
#include "SeriesFixture.h"

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

class CalibrationOption : public SeriesFixture {
  protected:
    void saveInput(std::string const& unit) const {
        saveVolume(_folder / "in.tif", 4, "scanner=\"B\", 17\n", unit);
    }

    ToolResult convert(Arguments const& options = {}) const {
        return runTool(Arguments{"convert", path("in.tif"), path("out.tif"), "--calibration-tags"} + options);
    }

    std::string toRaw(std::string const& name) const {
        expectDone(runTool({"convert", path(name), path("planes.raw"), "--overwrite"}));
        return read("planes.raw");
    }
};

} // namespace

TEST_F(CalibrationOption, InfoTellsThePixelSizeWithItsUnitIfItHasOne) {
    for (auto const& [unit, told] :
         std::vector<std::pair<std::string, std::string>>{{"um", " um"}, {"", ""}}) {
        saveInput(unit);
        EXPECT_THAT(runTool({"info", path("in.tif")}).out,
                    HasSubstr("\n  pixel size  0.65 x 0.5 x 3.5" + told + '\n'));
    }
}

TEST_F(CalibrationOption, TellsThePixelSizeInEachDirectory) {
    saveInput("um");
    for (char const* const compression : {"none", "lzw", "deflate"}) {
        expectDone(convert({"--overwrite", "--compression", compression}));
        EXPECT_EQ(std::vector<PageResolution>(4, {200000.0F / 13, 20000, RESUNIT_CENTIMETER}),
                  readResolutions(_folder / "out.tif"));
    }
}

TEST_F(CalibrationOption, LeavesGeometryCalibrationPropertiesAndPixels) {
    saveInput("um");
    expectDone(convert());
    json entry = describe("out.tif");
    entry["file"] = path("in.tif");
    EXPECT_EQ(describe("in.tif"), entry);
    EXPECT_EQ(3.5, entry.at("calibration").at("z"));
    EXPECT_EQ("um", entry.at("calibration").at("unit"));
    EXPECT_EQ("scanner=\"B\", 17\n", entry.at("userProperties"));
    EXPECT_EQ(toRaw("in.tif"), toRaw("out.tif"));
    expectDone(runTool({"info", "--check", path("out.tif")}));
}

TEST_F(CalibrationOption, OfAStackTellsTheCalibrationOfTheFirstFile) {
    TiffPage first = page("abcdef");
    first.resolution = 100;
    writeTiff(_folder / "s" / "a1.tif", {first});
    TiffPage second = page("ghijkl");
    second.resolution = 25;
    writeTiff(_folder / "s" / "a2.tif", {second});
    expectDone(runTool({"stack", path("s"), "a<INDEX>.tif", path("out.tif"), "--calibration-tags"}));
    EXPECT_EQ(std::vector<PageResolution>(2, {100, 200, RESUNIT_CENTIMETER}),
              readResolutions(_folder / "out.tif"));
    EXPECT_EQ("abcdefghijkl", toRaw("out.tif"));
}

TEST_F(CalibrationOption, WithoutACalibrationWarnsAndWritesNoTags) {
    writeTiff(_folder / "in.tif", {page("abcdef")});
    expectWarning(convert(), path("out.tif"), "no resolution tags", "no calibration");
    EXPECT_EQ(std::vector<PageResolution>(1), readResolutions(_folder / "out.tif"));
}

TEST_F(CalibrationOption, OfAnUnknownUnitWarnsAndTellsTheRatio) {
    saveInput("steps");
    expectWarning(convert(), path("out.tif"), "\"steps\"");
    EXPECT_EQ(std::vector<PageResolution>(4, {20.0F / 13, 2, RESUNIT_NONE}),
              readResolutions(_folder / "out.tif"));
}

TEST_F(CalibrationOption, NotGivenLeavesTheTagsOut) {
    saveInput("um");
    expectDone(runTool({"convert", path("in.tif"), path("out.tif")}));
    EXPECT_EQ(std::vector<PageResolution>(4), readResolutions(_folder / "out.tif"));
}

TEST_F(CalibrationOption, OfARawOutputIsWrongUse) {
    for (Arguments const& arguments : {Arguments{"convert", path("in.tif"), path("out.raw")},
                                       {"stack", path("s"), "*", path("out.raw")}}) {
        expectNoOutput(arguments + Arguments{"--calibration-tags"}, 2, "--calibration-tags", path("out.raw"),
                       "TIFF outputs");
    }
}

TEST_F(CalibrationOption, OfAResampledVolumeIsNotOffered) {
    expectFailure(runTool({"resample", path("s"), "*", path("steps.txt"), path("out.tif"), "--size-z", "2",
                           "--calibration-tags"}),
                  2, "--calibration-tags");
}

TEST_F(CalibrationOption, WithoutRoomForTheTagsTheEarlierOutputStays) {
    saveInput("um");
    expectDone(runTool({"convert", path("in.tif"), path("plain.tif")}));
    create("out.tif", "earlier");
    std::vector<std::string> const names = list();
    {
        FileSizeLimit const limit(boost::filesystem::file_size(_folder / "plain.tif") + 100);
        expectDone(runTool({"convert", path("in.tif"), path("plain.tif"), "--overwrite"}));
        expectFailure(convert({"--overwrite"}), 1, path("out.tif"), "File too large");
    }
    EXPECT_EQ("earlier", read("out.tif"));
    EXPECT_EQ(names, list());
}

} // namespace velmo::test
