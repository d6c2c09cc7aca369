// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Threshold.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <array>
#include <limits>
#include <log4cplus/loglevel.h>
#include <optional>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;
using velmo::test::Threshold;

RawDirectory resolved(float x, float y) {
    return greyDirectory().set(TIFFTAG_XRESOLUTION, real(x)).set(TIFFTAG_YRESOLUTION, real(y));
}

void expectWarnings(CapturedLog const& log, std::vector<std::string> const& texts) {
    auto const records = log.getRecords();
    ASSERT_EQ(records.size(), texts.size());
    for (std::size_t index = 0; index < texts.size(); ++index) {
        EXPECT_EQ(records[index].message, texts[index]);
        EXPECT_EQ(records[index].level, log4cplus::WARN_LOG_LEVEL);
        EXPECT_EQ(records[index].logger, getVELMOImageFileLoggerName());
    }
}

class TiffOpeningCalibration : public TiffTest {
  protected:
    std::string invalidResolution(std::string const& x, std::string const& y) const {
        return "Resolution values x=" + x + " and y=" + y +
               " are not valid for image calibration into image file " + _path.string();
    }
    std::string unsupportedOrientation(unsigned int value) const {
        return "Un supported plan orientation value " + std::to_string(value) + " for file " +
               _path.string() + ", image geometry may not be correctly read";
    }
};

using TiffOpeningOrientation = TiffOpeningCalibration;

} // namespace

TEST_F(TiffOpeningCalibration, PixelSizesAreTheInversesOfTheResolutionsInSinglePrecision) {
    std::pair<float, float> const resolutions[] = {
        {300.0F, 72.0F}, {0.1F, 3.0F}, {1e-30F, 1e30F}, {std::numeric_limits<float>::max(), 1.0F}};
    for (auto const& [x, y] : resolutions) {
        writeRawTiff(_path, {resolved(x, y)});
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds());
        ASSERT_TRUE(file.pCalibration);
        EXPECT_FALSE(file.pCalibration->is3d());
        EXPECT_EQ(file.pCalibration->getPixelSizeX(), 1.0F / x);
        EXPECT_EQ(file.pCalibration->getPixelSizeY(), 1.0F / y);
        EXPECT_EQ(file.pCalibration->getPixelSizeZ(), 1.0F);
        EXPECT_EQ(file.pCalibration->getFurtherTerms(), (std::array<float, 7>{}));
    }
}

TEST_F(TiffOpeningCalibration, TheUnitIsInchCentimetreOrNone) {
    struct Row {
        std::optional<unsigned int> tag;
        std::string unit;
    };
    for (Row const& row : {Row{{}, "inch"}, Row{1, ""}, Row{2, "inch"}, Row{3, "cm"}}) {
        RawDirectory directory = resolved(2, 4);
        if (row.tag) {
            directory.set(TIFFTAG_RESOLUTIONUNIT, shorts({*row.tag}));
        }
        writeRawTiff(_path, {directory});
        OpenedTiff const file(_path);
        ASSERT_TRUE(file.pCalibration) << row.unit;
        EXPECT_EQ(file.pCalibration->getUnit(), row.unit);
    }
}

TEST_F(TiffOpeningCalibration, WithoutResolutionsThereIsNoneAndNothingIsTold) {
    writeRawTiff(_path, {greyDirectory().set(TIFFTAG_RESOLUTIONUNIT, shorts({3}))});
    CapturedLog const log(getBaseLogger());
    OpenedTiff const file(_path);
    EXPECT_THAT(file.result, Succeeds());
    EXPECT_FALSE(file.pCalibration);
    expectWarnings(log, {});
}

TEST_F(TiffOpeningCalibration, ResolutionsThatAreAbsentOrNotAboveZeroAreToldAndIgnored) {
    struct Row {
        RawDirectory directory;
        std::string textX;
        std::string textY;
    };
    Row const rows[] = {{resolved(0, 0), "0.000000", "0.000000"},
                        {resolved(0, 2.5F), "0.000000", "2.500000"},
                        {resolved(300, 0), "300.000000", "0.000000"},
                        {resolved(2, 2).without(TIFFTAG_XRESOLUTION), "0.000000", "2.000000"},
                        {resolved(2, 2).without(TIFFTAG_YRESOLUTION), "2.000000", "0.000000"}};
    for (Row const& row : rows) {
        writeRawTiff(_path, {row.directory});
        CapturedLog const log(getBaseLogger());
        OpenedTiff const file(_path);
        EXPECT_THAT(file.result, Succeeds());
        EXPECT_FALSE(file.pCalibration);
        expectWarnings(log, {invalidResolution(row.textX, row.textY)});
    }
}

TEST_F(TiffOpeningCalibration, OfAStackTheLastDirectoryCounts) {
    writeRawTiff(_path, {greyDirectory(), greyDirectory(), resolved(5, 10)});
    OpenedTiff const last(_path);
    ASSERT_TRUE(last.pCalibration);
    EXPECT_EQ(last.pCalibration->getPixelSizeX(), 0.2F);
    writeRawTiff(_path, {resolved(5, 10), greyDirectory(), greyDirectory()});
    OpenedTiff const first(_path);
    EXPECT_THAT(first.result, Succeeds());
    EXPECT_FALSE(first.pCalibration);
}

TEST_F(TiffOpeningCalibration, OfAStackInASingleDirectoryThatDirectoryCounts) {
    RawDirectory const stack =
        resolved(4, 4).set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53t\nimages=9\nunit=micron\n"));
    writeRawTiff(_path, {stack, greyDirectory()});
    OpenedTiff const file(_path);
    ASSERT_TRUE(file.pCalibration);
    EXPECT_EQ(file.pCalibration->getPixelSizeX(), 0.25F);
    EXPECT_EQ(file.pCalibration->getUnit(), "inch");
}

TEST_F(TiffOpeningCalibration, WarningsAreNotWrittenWhereTheLoggerDoesNotTakeThem) {
    writeRawTiff(_path, {resolved(0, 0).set(TIFFTAG_ORIENTATION, shorts({6}))});
    Threshold const threshold(getVELMOImageFileLogger(), log4cplus::ERROR_LOG_LEVEL);
    CapturedLog const log(getBaseLogger());
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
    expectWarnings(log, {});
}

TEST_F(TiffOpeningOrientation, EveryOrientationButTheFirstIsTold) {
    for (unsigned int value = 1; value <= 8; ++value) {
        writeRawTiff(_path, {greyDirectory().set(TIFFTAG_ORIENTATION, shorts({value}))});
        CapturedLog const log(getBaseLogger());
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(describeGeometry(*file.pGeometry), "x=4 y=3 z=1 c=1 t=1 eIBT_UInt8");
        expectWarnings(log, value == 1 ? std::vector<std::string>{}
                                       : std::vector<std::string>{unsupportedOrientation(value)});
    }
}

TEST_F(TiffOpeningOrientation, EveryDirectoryTellsItsOwn) {
    auto const turned = [](unsigned int value) {
        return greyDirectory().set(TIFFTAG_ORIENTATION, shorts({value}));
    };
    writeRawTiff(_path, {turned(3), turned(1), greyDirectory(), turned(8)});
    CapturedLog const log(getBaseLogger());
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(file.pGeometry->getSizeZ(), 4U);
    expectWarnings(log, {unsupportedOrientation(3), unsupportedOrientation(8)});
}

TEST_F(TiffOpeningOrientation, ADirectoryThatIsRefusedForItsKindTellsNoOrientation) {
    writeRawTiff(
        _path, {greyDirectory().set(TIFFTAG_ORIENTATION, shorts({3})).set(TIFFTAG_SUBFILETYPE, longs({1}))});
    CapturedLog const log(getBaseLogger());
    EXPECT_FALSE(OpenedTiff(_path).result);
    expectWarnings(log, {});
}

} // namespace velmo::image::file
