// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Sample.h"
#include "InfoEntries.h"
#include "PngImage.h"

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Im6 : public CliTest {
  protected:
    std::string create(Im6Sample const& sample, std::string const& name = "in.im6") const {
        return CliTest::create(name, sample.toBytes());
    }
};

Im6Sample makeCalibratedSequence() {
    Im6Sample sample = makeIm6Sequence();
    sample.text = g_calibrationText;
    sample.calibration = Im6Calibration();
    return sample;
}

} // namespace

TEST_F(Im6, InfoTellsWhatTheHeaderAndTheCalibrationTell) {
    json const entry = describe({create(makeCalibratedSequence())});
    EXPECT_EQ("im6", entry.at("format"));
    EXPECT_EQ(2, entry.at("sizeX"));
    EXPECT_EQ(1, entry.at("sizeY"));
    EXPECT_EQ(2, entry.at("sizeZ"));
    EXPECT_EQ(3, entry.at("sizeC"));
    EXPECT_EQ(2, entry.at("sizeT"));
    EXPECT_EQ("uint16", entry.at("pixelType"));
    EXPECT_EQ("rgb", entry.at("color"));
    EXPECT_EQ(48, entry.at("bytes"));
    EXPECT_EQ("um", entry.at("calibration").at("unit"));
    EXPECT_DOUBLE_EQ(0.5, entry.at("calibration").at("x"));
    EXPECT_DOUBLE_EQ(0.25, entry.at("calibration").at("y"));
    EXPECT_DOUBLE_EQ(1.5, entry.at("calibration").at("z"));
}

TEST_F(Im6, TheExtensionCountsInAnyCaseAndTheOptionUnderAnyName) {
    Im6Sample const sample = makeIm6Sequence();
    EXPECT_EQ("im6", describe({create(sample, "A.IM6")}).at("format"));
    EXPECT_EQ("im6", describe({create(sample, "a.bin"), "--format", "im6"}).at("format"));
}

TEST_F(Im6, ConvertWritesThePlanesAsTheyLie) {
    Im6Sample const sample = makeIm6Sequence();
    expectDone(runTool({"convert", create(sample), path("out.raw")}));
    EXPECT_EQ(sample.pixels, read("out.raw"));
}

TEST_F(Im6, ConvertToTiffKeepsGeometryPixelsAndCalibration) {
    Im6Sample const sample = makeCalibratedSequence();
    expectDone(runTool({"convert", create(sample), path("out.tif"), "--compression", "deflate"}));
    json const entry = describe({path("out.tif")});
    EXPECT_EQ(2, entry.at("sizeT"));
    EXPECT_EQ("um", entry.at("calibration").at("unit"));
    expectDone(runTool({"convert", path("out.tif"), path("out.raw")}));
    EXPECT_EQ(sample.pixels, read("out.raw"));
}

TEST_F(Im6, PreviewShowsAPlane) {
    Im6Sample sample;
    sample.pixels = std::string("\0\x55\xAA\xFF\0\0\0\0\0\0\0\0", 12);
    expectDone(runTool({"preview", create(sample), path("out.png")}));
    PngImage const picture = readPng(_folder / "out.png");
    EXPECT_EQ(4U, picture.width);
    EXPECT_EQ(3U, picture.height);
}

TEST_F(Im6, AFileThatIsNoneIsNamed) {
    std::string const input = CliTest::create("a.im6", std::string(200, 'x'));
    expectFailure(runTool({"convert", input, path("out.raw")}), 1, '"' + input + '"', "expected format");
    ToolResult const info = runTool({"info", "--json", input});
    EXPECT_EQ(1, info.status);
    EXPECT_THAT(getEntries(info).at(0).at("error").get<std::string>(), HasSubstr("expected format"));
    EXPECT_THAT(list(), ElementsAre("a.im6"));
}

TEST_F(Im6, AFileThatIsTooShortHasTheWordsOfTheLibrary) {
    Im6Sample sample = makeIm6Sequence();
    sample.pixels.resize(40);
    std::string const input = create(sample);
    expectFailure(runTool({"convert", input, path("out.raw")}), 1, input, "total size 48", "file size 156");
}

TEST_F(Im6, ACheckTellsOfPlanesThatAreNotThere) {
    Im6Sample sample = makeIm6Sequence();
    sample.pixels.resize(40);
    sample.textBlockSize = 10; // it opens, as its text cannot be read
    std::string const input = create(sample);
    ToolResult const result = runTool({"info", "--check", input});
    EXPECT_THAT(result.out + result.err, hasWords("announces 48 bytes", "has 40"));
    EXPECT_EQ(1, runTool({"convert", input, path("out.raw")}).status);
    EXPECT_THAT(list(), ElementsAre("in.im6"));
}

TEST_F(Im6, AWholeFileHasNothingToWarnOf) {
    EXPECT_TRUE(describe({"--check", create(makeCalibratedSequence())}).at("warnings").empty());
}

} // namespace velmo::test
