// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

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
