// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>
#include <stdexcept>

namespace velmo::image::file {

namespace {

using TiffCreationFailureTest = TiffTest;

/// A calibration that does not let itself be written.
template <class Thrown>
class UnwritableCalibration : public GeometricCalibration {
  public:
    explicit UnwritableCalibration(Thrown const& thrown) : _thrown(thrown) {}
    BoolResult write(BaseOArchive& /*archive*/) const override { throw _thrown; }

  private:
    Thrown _thrown;
};

template <class Thrown>
BoolResult createWithUnwritable(path const& path, Thrown const& thrown) {
    TIFF* pTiff = nullptr;
    boost::shared_ptr<GeometricCalibration const> const pCalibration =
        boost::make_shared<UnwritableCalibration<Thrown>>(thrown);
    BoolResult const result =
        createTiffFile(path, *makeGeometry(eIBT_UInt8, {4, 3}), pCalibration, eTC_None, pTiff);
    EXPECT_EQ(pTiff, nullptr);
    return result;
}

std::string createLimited(path const& path, ImageGeometryPtr const& pGeometry, vlUInt64 limit,
                          eTiffCompression compression = eTC_None) {
    return withFileSizeLimit(limit, [&] {
        TIFF* pTiff = nullptr;
        std::string const text = toText(createTiffFile(path, *pGeometry, nullptr, compression, pTiff));
        return pTiff == nullptr && countDescriptors(path) == 0 ? text : text + " (still open)";
    });
}

std::string initFailed(vlUInt64 directory, path const& path) {
    return "Failed to initialize strip data of directory " + std::to_string(directory) + " for file " +
           path.string() + "\n";
}

} // namespace

TEST_F(TiffCreationFailureTest, AFolderThatIsNotThereIsACreationFailure) {
    path const nowhere = _folder / "nowhere" / "planes.tif";
    TIFF* pTiff = nullptr;
    BoolResult const result =
        createTiffFile(nowhere, *makeGeometry(eIBT_UInt8, {4, 3}), nullptr, eTC_None, pTiff);
    EXPECT_THAT(result, FailsInWords("Failed to create tiff image file " + nowhere.string() + "\n"));
    EXPECT_THAT(result, FailsLike("No such file or directory"));
    EXPECT_EQ(pTiff, nullptr);
}

TEST_F(TiffCreationFailureTest, AFolderIsNoFileToCreate) {
    TIFF* pTiff = nullptr;
    BoolResult const result = createTiffFile(_folder.getPath(), *makeGeometry(eIBT_UInt8, {4, 3}), nullptr,
                                             "text", eTC_None, pTiff);
    EXPECT_THAT(result,
                FailsInWords("Failed to create tiff image file " + _folder.getPath().string() + "\n"));
}

TEST_F(TiffCreationFailureTest, AHeaderThatCannotBeWrittenIsACreationFailure) {
    EXPECT_THAT(
        createLimited(_path, makeGeometry(eIBT_UInt8, {4, 3}), 0),
        testing::StartsWith("Failed to create tiff image file " + _path.string() + "\nTiff Error : "));
}

TEST_F(TiffCreationFailureTest, AStripThatDoesNotFitNamesItsDirectory) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {100, 200, 4});
    EXPECT_THAT(createLimited(_path, pGeometry, 10000), testing::StartsWith(initFailed(0, _path)));
    EXPECT_THAT(createLimited(_path, pGeometry, 60000), testing::StartsWith(initFailed(2, _path)));
    EXPECT_TRUE(boost::filesystem::exists(_path));
    EXPECT_THAT(createLimited(_path, pGeometry, 60000),
                testing::EndsWith("Write error at scanline 81: File too large"));
}

TEST_F(TiffCreationFailureTest, ACompressedStripThatDoesNotFitNamesItsDirectory) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {100, 2000, 40});
    for (eTiffCompression const compression : {eTC_Lzw, eTC_Deflate}) {
        EXPECT_THAT(createLimited(_path, pGeometry, 100, compression),
                    testing::StartsWith(initFailed(0, _path)));
    }
}

TEST_F(TiffCreationFailureTest, ADirectoryThatDoesNotFitIsNamedByItsPage) {
    EXPECT_THAT(
        createLimited(_path, makeGeometry(eIBT_UInt8, {100, 10}), 1008),
        testing::StartsWith("Error while writing directory T=0 C=0 Z=0 for file " + _path.string() + "\n"));
    EXPECT_THAT(
        createLimited(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {100, 10}), 3008),
        testing::StartsWith("Error while writing directory T=0 Z=0 for file " + _path.string() + "\n"));
}

TEST_F(TiffCreationFailureTest, AnExceptionIsAFailureWithItsText) {
    writeFile(_path, "an old file");
    EXPECT_THAT(createWithUnwritable(_path, std::runtime_error("no pen")),
                FailsWith("An exception has been thrown while creating file " + _path.string() + "\nno pen"));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readFile(_path), "an old file");
}

TEST_F(TiffCreationFailureTest, AnExceptionOfAnUnknownTypeHasTheTextOfTheUnhandled) {
    EXPECT_THAT(createWithUnwritable(_path, 42),
                FailsWith("An exception has been thrown while creating file " + _path.string() + "\n" +
                          "Unknown exception"));
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(TiffCreationFailureTest, NothingIsLogged) {
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    TIFF* pTiff = nullptr;
    EXPECT_FALSE(
        createTiffFile(_folder.getPath(), *makeGeometry(eIBT_UInt8, {4, 3}), nullptr, eTC_None, pTiff));
    EXPECT_FALSE(createTiffFile(_path, *makeGeometry(eIBT_UInt8, {1, 1, 32768}), nullptr, eTC_None, pTiff));
    EXPECT_FALSE(createWithUnwritable(_path, 42));
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffCreationFailureTest, ATagThatLibtiffRefusesIsNamed) {
    TIFF* pTiff = nullptr;
    EXPECT_THAT(
        createTiffFile(_path, *makeGeometry(eIBT_UInt8, {4, 0}), nullptr, eTC_None, pTiff),
        FailsInWords("Error while setting tiff tag TIFFTAG_ROWSPERSTRIP for file " + _path.string() + "\n"));
    EXPECT_EQ(countDescriptors(_path), 0U);
}

} // namespace velmo::image::file
