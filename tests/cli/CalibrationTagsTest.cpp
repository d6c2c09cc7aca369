// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/CalibrationTags.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <random>
#include <tiff.h>
#include <tuple>

namespace velmo::tool {

namespace {

struct KnownUnit {
    double pixels; ///< in a centimetre, of pixels that measure a quarter of the unit
    std::vector<std::string> names;
};

CalibrationTags toTagsOf(float sizeX, float sizeY, std::string const& unit) {
    return toTags(image::createGeometricCalibration2d(sizeX, sizeY, unit, 0, 0, 0, 0, 0));
}

double toDouble(Rational const& value) {
    return static_cast<double>(value.numerator) / value.denominator;
}

} // namespace

TEST(CalibrationTags, KnownUnitsAreToldInCentimetres) {
    for (KnownUnit const& known : std::vector<KnownUnit>{
             {4e-5, {"km", "kilometres"}},
             {0.04, {"m", "Meter", "metres"}},
             {0.4, {"dm", "decimetre"}},
             {4, {"cm", "centimeters"}},
             {40, {"mm", " mm ", "Millimetre"}},
             {4e4,
              {"um", "\xc2\xb5m", "\xce\xbcm", "\xb5m", "micron", "Microns", "MICROMETER", "micrometres"}},
             {4e7, {"nm", "nanometers"}},
             {4e8, {"\xc3\x85", "\xe2\x84\xab", "Angstroms"}},
             {4 / 2.54, {"inch", "Inches", "in", "\""}}}) {
        for (std::string const& name : known.names) {
            SCOPED_TRACE(name);
            CalibrationTags const tags = toTagsOf(0.25F, 0.5F, name);
            EXPECT_EQ("", tags.warning);
            ASSERT_TRUE(tags.resolution);
            EXPECT_EQ(RESUNIT_CENTIMETER, tags.resolution->unit);
            EXPECT_DOUBLE_EQ(known.pixels, toDouble(tags.resolution->x));
            EXPECT_DOUBLE_EQ(known.pixels / 2, toDouble(tags.resolution->y));
        }
    }
}

TEST(CalibrationTags, ASizeIsToldAsTheSimpleNumberThatItIsRoundedFrom) {
    for (auto const& [size, unit, numerator, denominator] :
         std::initializer_list<std::tuple<float, char const*, unsigned, unsigned>>{
             {0.65F, "um", 200000, 13},
             {0.1F, "um", 100000, 1},
             {1 / 300.0F, "inch", 15000, 127},
             {1 / 3.0F, "", 3, 1},
             {0.9375F, "mm", 32, 3}}) {
        CalibrationTags const tags = toTagsOf(size, 1, unit);
        ASSERT_TRUE(tags.resolution);
        EXPECT_EQ(numerator, tags.resolution->x.numerator) << size;
        EXPECT_EQ(denominator, tags.resolution->x.denominator) << size;
    }
}

TEST(CalibrationTags, TheSizeComesBackToTheBit) {
    std::vector<float> sizes;
    for (int power = -18; power <= 20; ++power) {
        sizes.push_back(std::ldexp(1.0F, power));
    }
    std::mt19937 random(7);
    std::uniform_real_distribution<float> exponent(-3, 4);
    for (int time = 0; time < 2000; ++time) {
        sizes.push_back(std::pow(10.0F, exponent(random)));
    }
    for (float const size : sizes) {
        CalibrationTags const tags = toTagsOf(size, 1, "um");
        ASSERT_TRUE(tags.resolution) << size;
        EXPECT_EQ(size, static_cast<float>(1e4 / toDouble(tags.resolution->x))) << size;
    }
}

TEST(CalibrationTags, WithoutAUnitThePixelsAreToldForAUnitWithoutAName) {
    CalibrationTags const tags = toTagsOf(0.25F, 2, "");
    EXPECT_EQ("", tags.warning);
    ASSERT_TRUE(tags.resolution);
    EXPECT_EQ(RESUNIT_NONE, tags.resolution->unit);
    EXPECT_EQ(4, toDouble(tags.resolution->x));
    EXPECT_EQ(0.5, toDouble(tags.resolution->y));
}

TEST(CalibrationTags, AnUnknownUnitIsLeftOutWithAWarning) {
    for (std::string const unit : {"furlong", "Mm", "M", "pixel", "metrem", "s"}) {
        CalibrationTags const tags = toTagsOf(0.25F, 2, unit);
        EXPECT_THAT(tags.warning, testing::HasSubstr('"' + unit + "\" is unknown"));
        ASSERT_TRUE(tags.resolution);
        EXPECT_EQ(RESUNIT_NONE, tags.resolution->unit);
        EXPECT_EQ(4, toDouble(tags.resolution->x));
    }
}

TEST(CalibrationTags, SizesThatTagsCannotTellOfLeaveNone) {
    using Limits = std::numeric_limits<float>;
    for (float const size : {0.0F, -1.0F, Limits::infinity(), Limits::quiet_NaN(), 1e-30F, 1e30F}) {
        for (CalibrationTags const& tags : {toTagsOf(size, 1, "um"), toTagsOf(1, size, "um")}) {
            EXPECT_FALSE(tags.resolution) << size;
            EXPECT_THAT(tags.warning, testing::HasSubstr("no resolution tags"));
        }
    }
    EXPECT_THAT(toTagsOf(0, 0.65F, "um").warning, testing::HasSubstr("0 x 0.65 um"));
}

TEST(CalibrationTags, AnImageWithoutACalibrationGetsNone) {
    CalibrationTags const tags = toTags(nullptr);
    EXPECT_FALSE(tags.resolution);
    EXPECT_THAT(tags.warning, testing::HasSubstr("no calibration"));
}

} // namespace velmo::tool
