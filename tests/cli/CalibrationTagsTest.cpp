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
    char const* unit;
    double pixels; ///< in a centimetre, of pixels that measure a quarter of the unit
};

std::ostream& operator<<(std::ostream& os, KnownUnit const& unit) {
    return os << unit.unit;
}

class KnownUnits : public testing::TestWithParam<KnownUnit> {};

CalibrationTags toTagsOf(float sizeX, float sizeY, std::string const& unit) {
    return toTags(image::createGeometricCalibration2d(sizeX, sizeY, unit, 0, 0, 0, 0, 0));
}

double toDouble(Rational const& value) {
    return static_cast<double>(value.numerator) / value.denominator;
}

} // namespace

TEST_P(KnownUnits, AreToldInCentimetres) {
    CalibrationTags const tags = toTagsOf(0.25F, 0.5F, GetParam().unit);
    EXPECT_EQ("", tags.warning);
    ASSERT_TRUE(tags.resolution);
    EXPECT_EQ(RESUNIT_CENTIMETER, tags.resolution->unit);
    EXPECT_DOUBLE_EQ(GetParam().pixels, toDouble(tags.resolution->x));
    EXPECT_DOUBLE_EQ(GetParam().pixels / 2, toDouble(tags.resolution->y));
}

INSTANTIATE_TEST_SUITE_P(Names, KnownUnits, testing::ValuesIn(std::vector<KnownUnit>{{"km", 4e-5},
                                                                                     {"m", 0.04},
                                                                                     {"Meter", 0.04},
                                                                                     {"metres", 0.04},
                                                                                     {"dm", 0.4},
                                                                                     {"decimetre", 0.4},
                                                                                     {"cm", 4},
                                                                                     {"centimeters", 4},
                                                                                     {"mm", 40},
                                                                                     {" mm ", 40},
                                                                                     {"Millimetre", 40},
                                                                                     {"um", 4e4},
                                                                                     {"\xc2\xb5m", 4e4},
                                                                                     {"\xce\xbcm", 4e4},
                                                                                     {"\xb5m", 4e4},
                                                                                     {"micron", 4e4},
                                                                                     {"Microns", 4e4},
                                                                                     {"MICROMETER", 4e4},
                                                                                     {"micrometres", 4e4},
                                                                                     {"nm", 4e7},
                                                                                     {"nanometers", 4e7},
                                                                                     {"\xc3\x85", 4e8},
                                                                                     {"\xe2\x84\xab", 4e8},
                                                                                     {"Angstroms", 4e8},
                                                                                     {"inch", 4 / 2.54},
                                                                                     {"Inches", 4 / 2.54},
                                                                                     {"in", 4 / 2.54},
                                                                                     {"\"", 4 / 2.54},
                                                                                     {"kilometres", 4e-5}}));

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
    std::mt19937 random(7);
    std::uniform_real_distribution<float> exponent(-3, 4);
    for (int time = 0; time < 2000; ++time) {
        float const size = std::pow(10.0F, exponent(random));
        CalibrationTags const tags = toTagsOf(size, 1, "um");
        ASSERT_TRUE(tags.resolution);
        EXPECT_EQ(size, static_cast<float>(1e4 / toDouble(tags.resolution->x)));
    }
}

TEST(CalibrationTags, APowerOfTwoComesBackToTheBit) {
    for (int power = -18; power <= 20; ++power) {
        float const size = std::ldexp(1.0F, power);
        CalibrationTags const tags = toTagsOf(size, 1, "um");
        ASSERT_TRUE(tags.resolution) << power;
        EXPECT_EQ(size, static_cast<float>(1e4 / toDouble(tags.resolution->x))) << power;
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
        EXPECT_EQ("the resolution tags leave out the unit \"" + unit +
                      "\", whose length is not known; units such as m, cm, mm, um, nm and inch are",
                  tags.warning);
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
            EXPECT_THAT(tags.warning, testing::StartsWith(
                                          "no resolution tags are written: they cannot tell of pixels of "));
        }
    }
    EXPECT_EQ("no resolution tags are written: they cannot tell of pixels of 0 x 0.65 um",
              toTagsOf(0, 0.65F, "um").warning);
}

TEST(CalibrationTags, AnImageWithoutACalibrationGetsNone) {
    CalibrationTags const tags = toTags(nullptr);
    EXPECT_FALSE(tags.resolution);
    EXPECT_EQ("no resolution tags are written: the image has no calibration", tags.warning);
}

} // namespace velmo::tool
