// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "InfoEntries.h"
#include "TiffSample.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/make_shared.hpp>
#include <limits>

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;

namespace {

using namespace image;

class Project : public CliTest {
  protected:
    ToolResult run(std::string const& bytes, Arguments const& options) const {
        return runTool(Arguments{"project", create("in.raw", bytes), path("out.raw"), "--overwrite"} +
                       options);
    }

    /// The values of the output.
    template <class Value>
    std::vector<Value> project(std::string const& bytes, Arguments const& options) const {
        expectDone(run(bytes, options));
        std::string const output = read("out.raw");
        std::vector<Value> values(output.size() / sizeof(Value));
        std::memcpy(values.data(), output.data(), values.size() * sizeof(Value));
        EXPECT_EQ(output.size(), values.size() * sizeof(Value));
        return values;
    }

    static Arguments along(std::string const& axis, std::string const& kind) {
        return {"--along", axis, "--by", kind};
    }

    json describe(std::string const& name) const {
        return getEntries(runTool({"info", "--json", path(name)})).at(0);
    }
};

float const g_nan = std::numeric_limits<float>::quiet_NaN();
float const g_inf = std::numeric_limits<float>::infinity();

} // namespace

TEST_F(Project, MaximumAndMinimumKeepTheType) {
    std::string const bytes = toBytes<std::int16_t>({-5, 7, 3, -9, 0, 1});
    Arguments const options = raw("2,1,3", "int16");
    EXPECT_THAT(project<std::int16_t>(bytes, options + along("z", "max")), ElementsAre(3, 7));
    EXPECT_THAT(project<std::int16_t>(bytes, options + along("z", "min")), ElementsAre(-5, -9));
}

TEST_F(Project, MeansAreReal32) {
    EXPECT_THAT(
        project<float>(toBytes<std::uint8_t>({255, 0, 254, 1}), raw("2,1,2", "uint8") + along("z", "mean")),
        ElementsAre(254.5F, 0.5F));
    EXPECT_THAT(project<float>(toBytes<std::int32_t>({2147483647, 2147483645}),
                               raw("1,1,2", "int32") + along("z", "mean")),
                ElementsAre(2147483646.0F));
}

TEST_F(Project, SumsAreIntegersIfTheyFitAndOtherwiseReal32) {
    EXPECT_THAT(project<std::uint32_t>(toBytes<std::uint16_t>({65535, 65535, 65535}),
                                       raw("1,1,3", "uint16") + along("z", "sum")),
                ElementsAre(196605U));
    EXPECT_THAT(
        project<std::int32_t>(toBytes<std::int8_t>({-128, -128}), raw("1,1,2", "int8") + along("z", "sum")),
        ElementsAre(-256));
    EXPECT_THAT(project<float>(toBytes<std::uint32_t>({4294967295U, 4294967295U}),
                               raw("1,1,2", "uint32") + along("z", "sum")),
                ElementsAre(8589934590.0F));
}

TEST_F(Project, EachAxisCanBeProjected) {
    std::string bytes;
    for (int plane = 0; plane < 2 * 3 * 2; ++plane) {
        bytes += static_cast<char>(plane); // (t, c, z) order
    }
    Arguments const options = raw("1,1,2,3,2", "uint8");
    EXPECT_THAT(project<std::uint8_t>(bytes, options + along("z", "max")), ElementsAre(1, 3, 5, 7, 9, 11));
    EXPECT_THAT(project<std::uint8_t>(bytes, options + along("c", "max")), ElementsAre(4, 5, 10, 11));
    EXPECT_THAT(project<std::uint8_t>(bytes, options + along("t", "min")), ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST_F(Project, NaNGivesNaN) {
    std::string const bytes = toBytes<float>({g_nan, 1, -g_inf, 2, g_nan, g_inf});
    Arguments const options = raw("3,1,2", "real32");
    for (char const* const kind : {"max", "min", "mean", "sum"}) {
        std::vector<float> const values = project<float>(bytes, options + along("z", kind));
        EXPECT_TRUE(std::isnan(values.at(0))) << kind;
        EXPECT_TRUE(std::isnan(values.at(1))) << kind;
    }
    EXPECT_EQ(g_inf, project<float>(bytes, options + along("z", "max")).at(2));
    EXPECT_EQ(-g_inf, project<float>(bytes, options + along("z", "min")).at(2));
}

TEST_F(Project, AFloatingPointSumOutOfRangeIsAFailure) {
    std::string const bytes = toBytes<float>({3e38F, 3e38F});
    expectFailure(run(bytes, raw("1,1,2", "real32") + along("z", "sum")), 1, path("in.raw"),
                  "exceeds the range");
    EXPECT_THAT(list(), ElementsAre("in.raw"));
    EXPECT_THAT(project<float>(bytes, raw("1,1,2", "real32") + along("z", "mean")), ElementsAre(3e38F));
    EXPECT_THAT(project<float>(toBytes<float>({g_inf, 1}), raw("1,1,2", "real32") + along("z", "sum")),
                ElementsAre(g_inf));
}

TEST_F(Project, MasksAreCountedAndLabelsHaveNoMean) {
    std::string const bytes = std::string("\0\xff\1\1", 4);
    Arguments const options = raw("2,1,2", "binary");
    EXPECT_THAT(project<std::uint8_t>(bytes, options + along("z", "min")), ElementsAre(0, 1));
    EXPECT_THAT(project<std::uint32_t>(bytes, options + along("z", "sum")), ElementsAre(1U, 2U));
    EXPECT_THAT(project<float>(bytes, options + along("z", "mean")), ElementsAre(0.5F, 1.0F));
    EXPECT_THAT(project<std::uint8_t>("\1\2\3\1", raw("2,1,2", "label8") + along("z", "max")),
                ElementsAre(3, 2));
    for (char const* const kind : {"mean", "sum"}) {
        expectFailure(run("\1\2", raw("1,1,2", "label8") + along("z", kind)), 1, path("in.raw"), "labels",
                      "max or min");
    }
}

TEST_F(Project, BigEndianPixelsAreSwapped) {
    EXPECT_THAT(
        project<std::uint16_t>(std::string("\1\0\0\2", 4),
                               raw("1,1,2", "uint16") + Arguments{"--byte-order", "big"} + along("z", "max")),
        ElementsAre(256));
}

TEST_F(Project, AnImageOfOnePixelIsItsProjection) {
    for (char const* const axis : {"z", "c", "t"}) {
        EXPECT_THAT(project<std::uint32_t>("\7", raw("1,1", "uint8") + along(axis, "sum")), ElementsAre(7U));
    }
}

TEST_F(Project, TheOutputKeepsPropertiesAndTheCalibrationOfItsAxes) {
    auto const pImage = boost::make_shared<MemoryImage>();
    VolumeGeometry volume;
    volume.init3d(2);
    TemporalGeometry temporal;
    temporal.initSequence(2);
    ColorGeometry color;
    color.initRgb();
    ASSERT_TRUE(pImage->init(*geometry(eIBT_UInt8, 2, 3, volume, color, temporal)));
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(0.5F, 0.25F, 2, "um", 0, 0, 0, 0, 0, 0, 0);
    pImage->setGeometricCalibration(pCalibration);
    pImage->setUserPropertiesStr("text");
    file::saveTiffImageFile(_folder / "in.tif", pImage);
    for (auto const& [axis, key] : {std::pair("z", "sizeZ"), {"c", "sizeC"}, {"t", "sizeT"}}) {
        std::string const output = std::string(axis) + ".tif";
        expectDone(runTool(Arguments{"project", path("in.tif"), path(output)} + along(axis, "max")));
        json entry = describe(output);
        json expected = describe("in.tif");
        for (char const* const changed : {"file", "bytes", "shape", key}) {
            expected[changed] = entry[changed];
        }
        EXPECT_EQ(1, entry.at(key));
        if (std::string(axis) == "z") {
            expected["isVolume"] = false;
            expected["calibration"]["z"] = 1.0;
        } else if (std::string(axis) == "c") {
            expected["color"] = "grey";
        } else {
            expected["isSequence"] = false;
        }
        EXPECT_EQ(expected, entry) << axis;
    }
}

TEST_F(Project, TheOptionsOfTheOutputApply) {
    create("head", "head");
    Arguments const options = raw("1,1,2", "uint8") + along("z", "max");
    expectDone(run("ab", options + Arguments{"--header", path("head"), "--threads", "3"}));
    EXPECT_EQ("headb", read("out.raw"));
    expectFailure(runTool(Arguments{"project", path("in.raw"), path("out.raw")} + options), 1,
                  "already exists");
    EXPECT_EQ("headb", read("out.raw"));
    expectDone(
        runTool(Arguments{"project", path("in.raw"), path("o.tif"), "--compression", "deflate"} + options));
    EXPECT_EQ(COMPRESSION_DEFLATE, readTiff(_folder / "o.tif").at(0).compression);
}

TEST_F(Project, AnOutputLargerThanMemoryIsRejected) {
    createSparse("in.raw", 1UL << 43);
    expectFailure(runTool(Arguments{"project", path("in.raw"), path("out.raw")} +
                          raw("1048576,1048576,8", "uint8") + along("z", "mean")),
                  1, "memory");
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

TEST_F(Project, AnImageWhoseMinimumIsWhiteIsProjectedWithAWarning) {
    TiffPage page;
    page.photometric = PHOTOMETRIC_MINISWHITE;
    page.pixels = "abcdef";
    writeTiff(_folder / "in.tif", {page});
    expectWarning(runTool(Arguments{"project", path("in.tif"), path("out.raw")} + along("z", "max")),
                  path("in.tif"), "minimum is white");
    EXPECT_EQ("abcdef", read("out.raw"));
}

TEST_F(Project, TheInputIsNotReplaced) {
    std::string const file = create("in.raw", "abcd");
    Arguments const options = raw("2,1,2", "uint8") + along("z", "max");
    expectFailure(runTool(Arguments{"project", file, file, "--overwrite"} + options), 1, file,
                  "it is the input");
    EXPECT_EQ("abcd", read("in.raw"));
}

} // namespace velmo::test
