// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"
#include "Im6ImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <cmath>
#include <cstring>
#include <limits>

namespace velmo::image::file {

namespace {

using Terms = std::array<float, 7>;

GeometricCalibrationPtr convert(Im6Calibration const& calibration, bool is2d) {
    CalibrationData data;
    std::memcpy(&data, calibration.toBytes().data(), sizeof(data));
    return calibDataToGeometricCalibration(HeaderData(), data, is2d);
}

TEST(Im6CalibrationRecord, A3dCalibrationTakesEveryFieldAndA2dOneThoseOfTwoDimensions) {
    for (bool const is2d : {false, true}) {
        GeometricCalibrationPtr const pCalibration = convert(Im6Calibration(), is2d);
        EXPECT_EQ(pCalibration->is3d(), !is2d);
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
        EXPECT_EQ(pCalibration->getPixelSizeY(), 0.25F);
        EXPECT_EQ(pCalibration->getPixelSizeZ(), is2d ? 1.0F : 1.5F);
        EXPECT_EQ(pCalibration->getUnit(), "um");
        EXPECT_EQ(pCalibration->getFurtherTerms(), (Terms{11, 12, is2d ? 0.0F : 13.0F, 0, 0, 0, 0}));
    }
}

// Quotients of the rounded numbers would be a bit lower.
TEST(Im6CalibrationRecord, IsDividedInDoubleAndRoundedToSinglePrecisionAfterwards) {
    Im6Calibration calibration;
    calibration.extentX = 0.1;
    calibration.pixelsX = 0.3;
    calibration.extentY = 16777217.0;
    calibration.pixelsY = 50331651.0;
    calibration.firstFurther = 0.1;
    calibration.secondFurther = 1e-300;
    GeometricCalibrationPtr const pCalibration = convert(calibration, false);
    EXPECT_EQ(pCalibration->getPixelSizeX(), 0.33333334F);
    EXPECT_EQ(pCalibration->getPixelSizeY(), 0.33333334F);
    EXPECT_EQ(pCalibration->getFurtherTerms()[0], 0.1F);
    EXPECT_EQ(pCalibration->getFurtherTerms()[1], 0.0F);
}

TEST(Im6CalibrationRecord, DivisorsOfZeroGiveInfiniteAndUndefinedSizes) {
    Im6Calibration calibration;
    calibration.pixelsX = 0.0;
    calibration.pixelsY = 0.0;
    calibration.extentY = 0.0;
    for (bool const is2d : {true, false}) {
        GeometricCalibrationPtr const pCalibration = convert(calibration, is2d);
        EXPECT_EQ(pCalibration->getPixelSizeX(), std::numeric_limits<float>::infinity());
        EXPECT_TRUE(std::isnan(pCalibration->getPixelSizeY()));
    }
    calibration.pixelsX = -0.0;
    EXPECT_EQ(convert(calibration, true)->getPixelSizeX(), -std::numeric_limits<float>::infinity());
}

TEST(Im6CalibrationRecord, TheUnitEndsAtItsFirstZeroByte) {
    struct {
        std::string field;
        std::string unit;
    } const cases[] = {{std::string("\0um\0", 4), ""},
                       {std::string("m\0m\0", 4), "m"},
                       {std::string("\xC2\xB5m\0", 4), "\xC2\xB5m"},
                       {std::string(1000, 'u') + '\0', std::string(1000, 'u')},
                       {std::string(g_im6UnitBytes - 1, 'u') + '\0', std::string(g_im6UnitBytes - 1, 'u')},
                       {std::string(g_im6UnitBytes, 'u'), std::string(g_im6UnitBytes, 'u')}};
    for (auto const& entry : cases) {
        Im6Calibration calibration;
        calibration.unit = entry.field;
        EXPECT_EQ(convert(calibration, true)->getUnit(), entry.unit);
        EXPECT_EQ(convert(calibration, false)->getUnit(), entry.unit);
        EXPECT_EQ(convert(calibration, false)->getFurtherTerms()[2], 13.0F); // the next field
    }
}

} // namespace

} // namespace velmo::image::file
