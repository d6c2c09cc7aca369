// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"
#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

// Without a file

TEST(Im6ImageFile, WritingAndResizingWithoutAFileDoNothingAndSucceed) {
    Im6ImageFile file;
    EXPECT_THAT(tryWrite(file, {9, 9, 9, 9, 9}), Succeeds());
    EXPECT_THAT(file.writeRawData(0, 0, 0, 0, 1, nullptr), Succeeds());
    EXPECT_THAT(file.resizeData(*geometry3d(eIBT_UInt8, 1, 1, 1)), Succeeds());
    EXPECT_FALSE(file.isInit());
}

// Opening

TEST_F(Im6ImageFileTest, AFileOfAnotherFormatIsThrownAndLeavesNoFileInTheAccessor) {
    path const other = _folder / "other.im6";
    Im6Sample sample = makeIm6Sequence();
    sample.magic = 0x6935;
    sample.write(other);
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        CapturedLog const log(getVELMOImageLogger());
        CapturedLog const moduleLog(getVELMOImageFileLogger());
        EXPECT_EQ(thrownText<VELMOImageException>([&] { file.openFile(other, accessMode); }),
                  g_invalidFormat);
        EXPECT_EQ(log.getRecords().size(), 1U);
        EXPECT_TRUE(moduleLog.getRecords().empty());
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(other), 0U);
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(Im6ImageFileTest, ADataTypeThatIsNotKnownOpensAsPixelsOfNoBytes) {
    for (std::uint32_t const dataType : {3U, 21U, 64U, 67U, 0xFFFFFFFFU}) {
        Im6Sample sample;
        sample.dataType = dataType;
        Im6ImageFile file;
        open(sample, file);
        EXPECT_EQ(file.getGeometry().getBufferType(), eIBT_None);
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), "");
    }
}

// Calibration

TEST_F(Im6ImageFileTest, ACalibrationThatTheTextAnnouncesIsTakenFromBehindTheBlocks) {
    for (std::uint32_t const sizeZ : {1U, 2U}) {
        Im6Sample sample;
        sample.sizeZ = sizeZ;
        sample.pixels = countingBytes(12UL * sizeZ);
        sample.text = g_calibrationText;
        sample.secondBlock = countingBytes(5);
        sample.thirdBlock = countingBytes(7);
        sample.calibration.emplace();
        sample.trailer = "and more";
        Im6ImageFile file;
        open(sample, file);
        GeometricCalibrationConstPtr const pCalibration = file.getGeometricCalibrationConstPtr();
        ASSERT_TRUE(pCalibration);
        EXPECT_EQ(pCalibration->is3d(), sizeZ == 2);
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
        EXPECT_EQ(pCalibration->getPixelSizeZ(), sizeZ == 2 ? 1.5F : 1.0F);
        EXPECT_EQ(pCalibration->getFurtherTerms()[2], sizeZ == 2 ? 13.0F : 0.0F);
        EXPECT_EQ(pCalibration->getUnit(), "um");
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(12));
    }
}

TEST_F(Im6ImageFileTest, ARecordThatNoWordAnnouncesIsNotLookedAt) {
    Im6ImageFile file;
    for (std::string const& text : {std::string(200000, 'x') + "Calibration", std::string(),
                                    std::string("calibration\0", 12), std::string("\0Calibration", 12)}) {
        Im6Sample sample;
        sample.pixels = countingBytes(12);
        sample.text = text;
        sample.calibration.emplace();
        open(sample, file);
        EXPECT_EQ(static_cast<bool>(file.getGeometricCalibrationConstPtr()), text.size() > 200000) << text;
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), sample.pixels);
    }
    Im6Sample sample;
    sample.pixels = countingBytes(12);
    sample.text = "text";
    sample.secondBlock = sample.thirdBlock = sample.trailer = g_calibrationText; // in the other blocks
    open(sample, file);
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

class Im6ImageFileArchiveTest : public Im6ImageFileTest, public testing::WithParamInterface<ArchiveKind> {
  protected:
    /// The record of a sequence that is opened read only.
    std::string writeExample(ArchiveKind const& kind) const {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        return writeRecord(kind, file);
    }
};

INSTANTIATE_TEST_SUITE_P(Archives, Im6ImageFileArchiveTest, testing::Values(g_binary, g_xml),
                         [](auto const& kind) { return kind.param.name; });

TEST_P(Im6ImageFileArchiveTest, AFileThatWasReplacedGivesItsNewGeometryAndCalibration) {
    std::string const record = writeExample(GetParam());
    Im6Sample later;
    later.sizeX = 5;
    later.sizeZ = 3;
    later.dataType = 34;
    later.pixels = countingBytes(45, 100);
    later.text = g_calibrationText;
    later.calibration.emplace();
    later.write(_path);
    Im6ImageFile file;
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_EQ(describeGeometry(file.getGeometry()), "x=5 y=3 z=3 c=1 t=1 eIBT_Binary");
    ASSERT_TRUE(file.getGeometricCalibrationConstPtr());
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr()->is3d());
    EXPECT_EQ(readPixels(file, {2, 0, 0, 0, 15}), later.pixels.substr(30));
}

TEST_P(Im6ImageFileArchiveTest, AFileThatWasReplacedByOneWithoutACalibrationHasNone) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = g_calibrationText;
    sample.calibration.emplace();
    Im6ImageFile written;
    open(sample, written);
    ASSERT_TRUE(written.getGeometricCalibrationConstPtr());
    std::string const record = writeRecord(GetParam(), written);
    Im6ImageFile file;
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
    makeIm6Sequence().write(_path);
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

TEST_P(Im6ImageFileArchiveTest, AFileThatIsTooShortOrNoIm6FileByNowLeavesAnAccessorWithoutAFile) {
    std::string const record = writeExample(GetParam());
    Im6ImageFile file;
    boost::filesystem::resize_file(_path, 150);
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(geometryExceeds(164, 150, _path)));
    EXPECT_FALSE(file.isInit());
    writeFile(_path, std::string(200, 'x'));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readRecord(GetParam(), record, file); }),
              g_invalidFormat);
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

} // namespace

} // namespace velmo::image::file
