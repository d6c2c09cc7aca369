// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "DamagedTiff.h"
#include "Im6Sample.h"
#include "TiffSample.h"

#include <fcntl.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velmo::test {

using nlohmann::json;
using testing::HasSubstr;

namespace {

class Stats : public CliTest {
  protected:
    json measureFiles(Arguments const& arguments) const {
        ToolResult const result = runTool(Arguments{"stats", "--json"} + arguments);
        expectDone(result);
        return json::parse(result.out).at("files");
    }

    /// The sets of pixels of a raw file.
    json measure(std::string const& bytes, Arguments const& options) const {
        return measureFiles(Arguments{create("in.raw", bytes)} + options).at(0).at("statistics");
    }

    static std::vector<double> getPercentiles(json const& set) {
        std::vector<double> values;
        for (json const& percentile : set.at("percentiles")) {
            values.push_back(percentile.at("value"));
        }
        return values;
    }
};

} // namespace

TEST_F(Stats, PrintsTheValuesOfAFile) {
    std::string const input = create("in.raw", toBytes<std::int16_t>({-3, 5, 5, 1}));
    ToolResult const result = runTool(
        Arguments{"stats", input, "--percentiles", "0,50,90", "--histogram", "2"} + raw("2,2", "int16"));
    expectDone(result);
    EXPECT_EQ(input + "\n"
                      "  pixels      4 int16\n"
                      "  minimum     -3\n"
                      "  maximum     5\n"
                      "  mean        2\n"
                      "  deviation   3.31662479\n"
                      "  0 %         -3\n"
                      "  50 %        3\n"
                      "  90 %        5\n"
                      "  histogram   2 parts\n"
                      "    from -3             1\n"
                      "    from 1              3\n",
              result.out);
}

TEST_F(Stats, ADocumentHasAllKeys) {
    json const files = measureFiles(Arguments{create("in.raw", "\1\2")} + raw("2,1", "uint8"));
    EXPECT_EQ((json{{"file", path("in.raw")},
                    {"format", "raw"},
                    {"by", "file"},
                    {"error", nullptr},
                    {"statistics", files.at(0).at("statistics")}}),
              files.at(0));
    json const set = files.at(0).at("statistics").at(0);
    EXPECT_EQ((json{{"z", nullptr},
                    {"c", nullptr},
                    {"t", nullptr},
                    {"pixelType", "uint8"},
                    {"pixels", 2},
                    {"nan", 0},
                    {"positiveInfinity", 0},
                    {"negativeInfinity", 0},
                    {"minimum", 1},
                    {"maximum", 2},
                    {"mean", 1.5},
                    {"standardDeviation", 0.5},
                    {"percentiles", set.at("percentiles")},
                    {"histogram", nullptr}}),
              set);
    EXPECT_EQ((json{{"percent", 25}, {"value", 1.25}, {"error", 0}}), set.at("percentiles").at(2));
}

TEST_F(Stats, WhatIsNotFiniteIsCountedAndLeftOut) {
    float const infinity = std::numeric_limits<float>::infinity();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    json const set =
        measure(toBytes<float>({nan, 2, infinity, 4, -infinity, nan}), raw("6,1", "real32")).at(0);
    EXPECT_EQ(6, set.at("pixels"));
    EXPECT_EQ(2, set.at("nan"));
    EXPECT_EQ(1, set.at("positiveInfinity"));
    EXPECT_EQ(1, set.at("negativeInfinity"));
    EXPECT_EQ(2, set.at("minimum"));
    EXPECT_EQ(4, set.at("maximum"));
    EXPECT_EQ(3, set.at("mean"));
    EXPECT_EQ(1, set.at("standardDeviation"));
}

TEST_F(Stats, WithoutAFiniteValueTheValuesAreNull) {
    float const nan = std::numeric_limits<float>::quiet_NaN();
    Arguments const options = raw("2,1", "real32") + Arguments{"--histogram", "3"};
    json const set = measure(toBytes<float>({nan, nan}), options).at(0);
    for (char const* const key : {"minimum", "maximum", "mean", "standardDeviation", "histogram"}) {
        EXPECT_EQ(json(nullptr), set.at(key)) << key;
    }
    EXPECT_EQ(json(nullptr), set.at("percentiles").at(0).at("value"));
    ToolResult const text = runTool(Arguments{"stats", path("in.raw")} + options);
    expectDone(text);
    EXPECT_THAT(text.out, testing::EndsWith("\n  not finite  2 NaN, 0 infinity, 0 -infinity\n"));
    EXPECT_THAT(runTool(Arguments{"stats", "--csv", path("in.raw")} + options).out,
                HasSubstr(",real32,2,2,0,0,,,,,,,,,,,,,,,0,0,0\n"));
}

TEST_F(Stats, ThePercentilesOfLargeNumbersHaveABound) {
    json const exact = measure(toBytes<std::uint32_t>({32767, 5, 3}), raw("3,1", "uint32")).at(0);
    EXPECT_EQ(0, exact.at("percentiles").at(6).at("error"));
    json const set =
        measure(toBytes<std::uint32_t>({4000000000U, 4000000001U, 4000000100U}), raw("3,1", "uint32")).at(0);
    json const median = set.at("percentiles").at(3);
    EXPECT_GE(4000000001.0, median.at("value"));
    EXPECT_LE(4000000001.0, median.at("value").get<double>() + median.at("error").get<double>());
    EXPECT_GT(4000000000.0 / 16384, median.at("error"));
    EXPECT_EQ(4000000000.0, set.at("minimum"));
    EXPECT_EQ(4000000100.0, set.at("maximum"));
}

TEST_F(Stats, AConstantImageOfAnyValueIsExact) {
    json const set = measure(toBytes<float>({0.1F, 0.1F, 0.1F}), raw("3,1", "real32")).at(0);
    EXPECT_EQ(static_cast<double>(0.1F), set.at("percentiles").at(3).at("value"));
    EXPECT_EQ(0, set.at("percentiles").at(3).at("error"));
    EXPECT_EQ(0, set.at("standardDeviation"));
}

TEST_F(Stats, AMaskHasTheValues0And1) {
    json const set = measure(std::string("\0\xff\7\0", 4), raw("4,1", "binary")).at(0);
    EXPECT_EQ(1, set.at("maximum"));
    EXPECT_EQ(0.5, set.at("mean"));
}

TEST_F(Stats, ChannelsAreMeasuredApartUnlessAskedOtherwise) {
    std::string bytes;
    for (int plane = 0; plane < 2 * 3 * 2; ++plane) {
        bytes += static_cast<char>(plane); // (t, c, z) order
    }
    Arguments const options = raw("1,1,2,3,2", "uint8");
    json const channels = measure(bytes, options);
    ASSERT_EQ(3U, channels.size());
    EXPECT_EQ(2, channels.at(1).at("minimum"));
    EXPECT_EQ(9, channels.at(1).at("maximum"));
    EXPECT_EQ(1, channels.at(1).at("c"));
    EXPECT_EQ(5.5, measure(bytes, options + Arguments{"--by", "file"}).at(0).at("mean"));
    json const steps = measure(bytes, options + Arguments{"--by", "time"});
    EXPECT_EQ(8.5, steps.at(1).at("mean"));
    EXPECT_EQ(1, steps.at(1).at("t"));
    json const planes = measure(bytes, options + Arguments{"--by", "plane"});
    ASSERT_EQ(12U, planes.size());
    EXPECT_EQ((std::vector<int>{1, 2, 1, 11}),
              (std::vector<int>{planes.at(11).at("z"), planes.at(11).at("c"), planes.at(11).at("t"),
                                planes.at(11).at("minimum")}));
}

TEST_F(Stats, ATableHasALineForEachSetAndQuotesNames) {
    std::string const input = create("a, \"b\".raw", "\1\2\3\4");
    ToolResult const result = runTool(
        Arguments{"stats", input, "--csv", "--by", "plane", "--percentiles", "50", "--histogram", "1"} +
        raw("2,1,2", "uint8"));
    expectDone(result);
    std::string const name = '"' + _folder.getPath().string() + "/a, \"\"b\"\".raw\"";
    EXPECT_EQ("file,z,c,t,pixelType,pixels,nan,positiveInfinity,negativeInfinity,minimum,maximum,mean,"
              "standardDeviation,p50,percentileError,histogramLow,histogramHigh,histogram0\n" +
                  name + ",0,0,0,uint8,2,0,0,0,1,2,1.5,0.5,1.5,0,1,2,2\n" + name +
                  ",1,0,0,uint8,2,0,0,0,3,4,3.5,0.5,3.5,0,3,4,2\n",
              result.out);
}

TEST_F(Stats, SeveralFilesAreMeasuredAlsoBehindOneThatFails) {
    writeCutPixels(_folder / "cut.tif", 3);
    writePixelsLast(_folder / "whole.tif", 2, 3);
    Arguments const files = {path("cut.tif"), path("none.tif"), path("whole.tif")};
    ToolResult const text = runTool(Arguments{"stats"} + files);
    EXPECT_EQ(1, text.status);
    EXPECT_THAT(text.err, hasWords(path("cut.tif"), "Failed to read data", path("none.tif"), "No such file"));
    EXPECT_THAT(text.out, testing::StartsWith(path("whole.tif") + "\n  channel     0\n"));
    ToolResult const result = runTool(Arguments{"stats", "--json"} + files);
    EXPECT_EQ(1, result.status);
    json const entries = json::parse(result.out).at("files");
    EXPECT_EQ(json(nullptr), entries.at(0).at("statistics"));
    EXPECT_THAT(entries.at(0).at("error").get<std::string>(), HasSubstr("Failed to read data"));
    EXPECT_EQ(3U, entries.at(2).at("statistics").size());
    EXPECT_EQ('a' + 0.5, entries.at(2).at("statistics").at(2).at("mean").get<double>());
}

TEST_F(Stats, AFileThatCanBeImportedIsNamedWithTheCommand) {
    TiffPage page;
    page.sizeX = 16;
    page.sizeY = 16;
    page.tileSize = 16;
    page.pixels = std::string(256, 'x');
    writeTiff(_folder / "tiled.tif", {page});
    expectFailure(runTool({"stats", path("tiled.tif")}), 1, path("tiled.tif"), "velmo-image import ");
}

TEST_F(Stats, TimeStepsOfDifferentTypesAreMeasuredApart) {
    TiffPage first;
    first.pixels = "abcdef";
    TiffPage second = first;
    second.bits = 16;
    second.pixels = toBytes<std::uint16_t>({300, 300, 300, 300, 300, 306});
    writeTiff(_folder / "in.tif", {first, second});
    Arguments const arguments = {path("in.tif"), "--directories", "t"};
    expectFailure(runTool(Arguments{"stats"} + arguments), 1, path("in.tif"), "several pixel types",
                  "--by time");
    json const steps = measureFiles(arguments + Arguments{"--by", "time"}).at(0).at("statistics");
    EXPECT_EQ("uint8", steps.at(0).at("pixelType"));
    EXPECT_EQ('f', steps.at(0).at("maximum"));
    EXPECT_EQ("uint16", steps.at(1).at("pixelType"));
    EXPECT_EQ(301, steps.at(1).at("mean"));
    EXPECT_EQ(0, runTool({"compare", path("in.tif"), path("in.tif"), "--directories", "t"}).status);
    expectFailure(runTool({"project", path("in.tif"), path("o.raw"), "--directories", "t", "--along", "t",
                           "--by", "max"}),
                  1, path("in.tif"), "several pixel types");
}

TEST_F(Stats, MoreSetsThanMemoryHoldsAreRejected) {
    std::string const input = createSparse("in.raw", 1UL << 42);
    expectFailure(runTool(Arguments{"stats", input, "--by", "plane"} + raw("1,1,4398046511104", "uint8")), 1,
                  "not enough memory", "4398046511104");
}

TEST_F(Stats, AnIm6FileIsMeasured) {
    makeIm6Sequence().write(_folder / "in.im6");
    json const file = measureFiles({path("in.im6"), "--by", "time"}).at(0);
    EXPECT_EQ("im6", file.at("format"));
    EXPECT_EQ(2U, file.at("statistics").size());
    EXPECT_EQ(12, file.at("statistics").at(1).at("pixels"));
}

TEST_F(Stats, AnOddNameIsMeasured) {
    for (std::string const name : {"a b\n'\"\\.raw", "\xff\xfe.raw", "-x.raw", "$(touch x)"}) {
        std::string const input = create(name, "\1\2");
        for (char const* const option : {"--json", "--csv", "--quiet"}) {
            ToolResult const result = runTool(Arguments{"stats", option, input} + raw("2,1", "uint8"));
            EXPECT_EQ(0, result.status) << result.err;
            EXPECT_THAT(result.out, HasSubstr("1.5"));
        }
    }
}

TEST_F(Stats, AReaderThatHasGoneIsNoFailure) {
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    std::string const input = create("in.raw", "\1\2");
    for (char const* const option : {"--json", "--csv", "--quiet"}) {
        ToolProcess process(Arguments{"stats", option, input} + raw("2,1", "uint8"), ends[1]);
        expectDone(process.wait());
    }
    close(ends[1]);
}

TEST_F(Stats, AFullDiskForTheReportIsAFailure) {
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    std::string const input = create("in.raw", "\1\2");
    ToolProcess process(Arguments{"stats", input} + raw("2,1", "uint8"), full);
    expectFailure(process.wait(), 1, "standard output", "No space left");
    close(full);
}

} // namespace velmo::test
