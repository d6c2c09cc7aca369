// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileSizeLimit.h"
#include "SeriesFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/make_shared.hpp>

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

class CalibrationOption : public SeriesFixture {
  protected:
    /// A volume of four planes of 3 x 2 pixels, of 0.65 x 0.5 in the unit.
    void saveVolume(std::string const& name, std::string const& unit) const {
        image::ImagePtr pImage;
        ASSERT_TRUE(image::ImageFactory::getInstance().createDefaultImage(
            *image::geometry3d(image::eIBT_UInt16, 3, 2, 4), pImage));
        for (vlUInt64 z = 0; z < 4; ++z) {
            std::vector<std::uint16_t> const pixels(6, static_cast<std::uint16_t>(1000 * z));
            ASSERT_TRUE(pImage->writePixels(z, 0, 0, 0, 6, pixels.data()));
        }
        auto const pCalibration = boost::make_shared<image::GeometricCalibration>();
        pCalibration->init3d(0.65F, 0.5F, 3.5F, unit, 4, 5, 6, 7, 8, 9, 10);
        pImage->setGeometricCalibration(pCalibration);
        pImage->setUserPropertiesStr("scanner=\"B\", 17\n");
        image::file::saveTiffImageFile(_folder / name, pImage, image::file::eTC_None);
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
        saveVolume("in.tif", unit);
        EXPECT_THAT(runTool({"info", path("in.tif")}).out,
                    HasSubstr("\n  pixel size  0.65 x 0.5 x 3.5" + told + '\n'));
    }
}

TEST_F(CalibrationOption, TellsThePixelSizeInEachDirectory) {
    saveVolume("in.tif", "um");
    for (char const* const compression : {"none", "lzw", "deflate"}) {
        expectDone(convert({"--overwrite", "--compression", compression}));
        EXPECT_EQ(std::vector<PageResolution>(4, {200000.0F / 13, 20000, RESUNIT_CENTIMETER}),
                  readResolutions(_folder / "out.tif"));
    }
}

TEST_F(CalibrationOption, LeavesGeometryCalibrationPropertiesAndPixels) {
    saveVolume("in.tif", "um");
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
    saveVolume("in.tif", "steps");
    expectWarning(convert(), path("out.tif"), "\"steps\"");
    EXPECT_EQ(std::vector<PageResolution>(4, {20.0F / 13, 2, RESUNIT_NONE}),
              readResolutions(_folder / "out.tif"));
}

TEST_F(CalibrationOption, NotGivenLeavesTheTagsOut) {
    saveVolume("in.tif", "um");
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
    saveVolume("in.tif", "um");
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
