// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "DamagedTiff.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/make_shared.hpp>
#include <fcntl.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

using namespace image;

class Compare : public CliTest {
  protected:
    ToolResult compare(std::string const& a, std::string const& b, Arguments const& options) const {
        return runTool(Arguments{"compare", create("a.raw", a), create("b.raw", b)} + options);
    }

    json compareAsJson(std::string const& a, std::string const& b, Arguments const& options) const {
        ToolResult const result = compare(a, b, options + Arguments{"--json"});
        json document = json::parse(result.out);
        EXPECT_EQ(document.at("same") ? 0 : 1, result.status);
        EXPECT_EQ("", result.err);
        return document;
    }

    /// A plane of one pixel.
    std::string save(std::string const& name, GeometricCalibrationPtr const& pCalibration,
                     std::string const& properties, bool bMinIsBlack = true) const {
        auto const pImage = boost::make_shared<MemoryImage>();
        ColorGeometry color;
        color.setMinIsBlack(bMinIsBlack);
        EXPECT_TRUE(pImage->init(*geometry(eIBT_UInt8, 1, 1, {}, color, {})));
        pImage->setGeometricCalibration(pCalibration);
        pImage->setUserPropertiesStr(properties);
        file::saveTiffImageFile(_folder / name, pImage);
        return path(name);
    }
};

} // namespace

TEST_F(Compare, EqualImagesAreTheSame) {
    ToolResult const result = compare("abcd", "abcd", raw("2,2", "uint8"));
    expectDone(result);
    EXPECT_EQ(path("a.raw") + " and " + path("b.raw") + " are the same\n  different   0 of 4 pixels\n",
              result.out);
}

TEST_F(Compare, DifferencesAreReportedOnStandardOutputWithStatus1) {
    ToolResult const result = compare(toBytes<std::int16_t>({1, 2, 3, 4, 5, 6}),
                                      toBytes<std::int16_t>({1, 2, 3, 4, 2, 7}), raw("1,3,2", "int16"));
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(path("a.raw") + " and " + path("b.raw") +
                  " differ\n"
                  "  different   2 of 6 pixels\n"
                  "  greatest    3 at x 0, y 1, z 1, c 0, t 0: 5 and 2\n"
                  "  mean        -0.3333333333\n"
                  "  rms         1.290994449\n"
                  "  psnr        94.11 dB\n",
              result.out);
}

TEST_F(Compare, DifferencesWithinTheToleranceAreTheSame) {
    std::string const a = toBytes<float>({1, 2, 3});
    std::string const b = toBytes<float>({1, 2.5F, 3});
    json const within = compareAsJson(a, b, raw("3,1", "real32") + Arguments{"--tolerance", "0.5"});
    EXPECT_EQ(true, within.at("same"));
    EXPECT_EQ(0, within.at("pixels").at("different"));
    EXPECT_EQ(0.5, within.at("pixels").at("greatest").at("difference"));
    json const beyond = compareAsJson(a, b, raw("3,1", "real32") + Arguments{"--tolerance", "0.49"});
    EXPECT_EQ(false, beyond.at("same"));
    EXPECT_EQ(1, beyond.at("pixels").at("different"));
}

TEST_F(Compare, NaNIsEqualToNaNAndBeyondAnyToleranceOfAnotherValue) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    float const infinity = std::numeric_limits<float>::infinity();
    Arguments const options = raw("3,1", "real32") + Arguments{"--tolerance", "1e30"};
    std::string const a = toBytes<float>({nan, infinity, 1});
    std::string const otherNaN = toBytes<float>({-nan, infinity, 1});
    EXPECT_EQ(true, compareAsJson(a, a, options).at("same"));
    EXPECT_EQ(true, compareAsJson(a, otherNaN, options).at("same"));
    json const document = compareAsJson(a, toBytes<float>({nan, infinity, nan}), options);
    EXPECT_EQ(false, document.at("same"));
    EXPECT_EQ(1, document.at("pixels").at("notFinite"));
    EXPECT_EQ(json(nullptr), document.at("pixels").at("greatest").at("difference"));
    EXPECT_EQ(2, document.at("pixels").at("greatest").at("x"));
    EXPECT_EQ(false, compareAsJson(a, toBytes<float>({nan, -infinity, 1}), options).at("same"));
    EXPECT_THAT(compare(a, toBytes<float>({nan, 0, 1}), options).out, HasSubstr("inf at x 1, y 0"));
}

TEST_F(Compare, ImagesOfDifferentSizesDiffer) {
    std::string const tiff = save("one.tif", nullptr, "");
    ToolResult const result =
        runTool(Arguments{"compare", tiff, create("a.raw", "ab")} + raw("2,1", "uint8"));
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_THAT(result.out, hasWords("differ", "X 1, Y 1, Z 1, C 1, T 1", "X 2, Y 1, Z 1, C 1, T 1"));
    json const document =
        json::parse(runTool(Arguments{"compare", "--json", tiff, path("a.raw")} + raw("2,1", "uint8")).out);
    EXPECT_EQ(false, document.at("same"));
    EXPECT_EQ(json(nullptr), document.at("pixels"));
    EXPECT_EQ(json({2, 1, 1, 1, 1}), document.at("sizes").at("b"));
}

TEST_F(Compare, AnErrorHasAMessageAndNoReport) {
    writeCutPixels(_folder / "cut.tif", 1);
    writePixelsLast(_folder / "whole.tif", 2, 1);
    for (auto const& [a, b] : {std::pair(path("cut.tif"), path("whole.tif")),
                               {path("whole.tif"), path("cut.tif")},
                               {path("whole.tif"), path("none.tif")}}) {
        ToolResult const result = runTool({"compare", a, b});
        expectFailure(result, 1, a == path("cut.tif") ? a : b);
        EXPECT_EQ("", result.out);
        ToolResult const asJson = runTool({"compare", "--json", a, b});
        EXPECT_EQ(1, asJson.status);
        json const document = json::parse(asJson.out);
        EXPECT_EQ(json(nullptr), document.at("same"));
        EXPECT_EQ(result.err, "velmo-image: " + document.at("error").get<std::string>() + '\n');
        for (char const* const key : {"sizes", "pixels", "properties"}) {
            EXPECT_EQ(json(nullptr), document.at(key)) << key;
        }
    }
}

TEST_F(Compare, DifferentPropertiesAreListedAndCountWithStrict) {
    std::string const a =
        save("a.tif", createGeometricCalibration2d(0.5F, 0.25F, "um", 0, 0, 0, 0, 0), "a\ntext", false);
    std::string const b = save("b.tif", nullptr, "");
    ToolResult const result = runTool({"compare", a, b});
    EXPECT_EQ(0, result.status);
    EXPECT_THAT(result.out, hasWords("are the same", "minIsBlack: \"false\" and \"true\"",
                                     "calibration: \"0.5 x 0.25 um\" and \"none\"", "userProperties"));
    EXPECT_EQ(1, runTool({"compare", a, b, "--strict"}).status);
    EXPECT_EQ(0, runTool({"compare", a, a, "--strict"}).status);
    json const document = json::parse(runTool({"compare", a, b, "--json", "--strict"}).out);
    EXPECT_EQ(false, document.at("same"));
    EXPECT_EQ(0, document.at("pixels").at("different"));
    EXPECT_EQ((json{{"name", "userProperties"}, {"a", "a\ntext"}, {"b", ""}}),
              document.at("properties").back());
}

TEST_F(Compare, AConvertedFileIsTheSame) {
    std::string bytes;
    for (int plane = 0; plane < 12; ++plane) {
        bytes += std::string(6, static_cast<char>(plane));
    }
    std::string const input = create("in.raw", bytes);
    Arguments const options = raw("3,2,2,3,2", "uint8");
    expectDone(runTool(Arguments{"convert", input, path("out.tif"), "--compression", "lzw"} + options));
    ToolResult const result = runTool(Arguments{"compare", input, path("out.tif"), "--strict"} + options);
    expectDone(result);
    EXPECT_THAT(result.out, HasSubstr("0 of 72 pixels"));
}

TEST_F(Compare, AReaderThatHasGoneIsNoFailure) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    Arguments const options = raw("2,1", "uint8");
    std::string const a = create("a.raw", "ab");
    std::string const b = create("b.raw", "ac");
    ToolProcess same(Arguments{"compare", a, a} + options, ends[1]);
    expectDone(same.wait());
    ToolProcess different(Arguments{"compare", a, b, "--json"} + options, ends[1]);
    ToolResult const result = different.wait();
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.err);
    close(ends[1]);
}

} // namespace velmo::test
