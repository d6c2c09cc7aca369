// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::HasSubstr;

namespace {

TiffReadOptions along(eTiffDirectoryMode mode, bool bTolerant = false) {
    TiffReadOptions options;
    options.directories = mode;
    options.bTolerant = bTolerant;
    return options;
}

/// The calls with options on folders of files.
class TiffFilesOptions : public TiffFiles {
  protected:
    ImagePtr loadWith(TiffReadOptions const& options) const {
        return loadTiffImageFiles(_folder, g_numbered, options);
    }
    ImagePtr openWith(TiffReadOptions const& options) const {
        return openTiffImageFiles(_folder, g_numbered, options);
    }
    ImagePtr resampleWith(unsigned long sizeZ, TiffReadOptions const& options = {}) const {
        return loadCustomZStackImageFiles(_folder, getStepsPath(), sizeZ, imaproc::attr::eIP_Nearest,
                                          g_numbered, options);
    }

    /// Two files of two planes of 12 pixels; the last plane is cut short.
    void saveCutFiles() const {
        for (unsigned int index = 0; index < 2; ++index) {
            RawDirectory directory = greyDirectory(4, 3, 8);
            directory.pixels = countingBytes(12, 1 + 24 * index);
            writeRawTiff(numbered(index), {directory, directory});
        }
        fs::resize_file(numbered(1), fs::file_size(numbered(1)) - 5);
    }
};

} // namespace

TEST_F(TiffFilesOptions, AFileCutShortIsAnErrorOfTheLoadOnceLogged) {
    saveCutFiles();
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        CapturedLog const log(log4cplus::Logger::getRoot());
        EXPECT_THAT(thrownText<VELMOImageFileException>([&] { loadWith(along(mode)); }),
                    testing::StartsWith("Failed to create output image\nFailed to read data of strip 0 for "
                                        "directory z=1, c=0, t=0 of file " +
                                        numbered(1).string() + "\nTiff Error : "));
        EXPECT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

TEST_F(TiffFilesOptions, ATolerantLoadHasZerosForPixelsThatAreNotThere) {
    saveCutFiles();
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        CapturedLog const log(log4cplus::Logger::getRoot());
        std::string const pixels = readPixels(*loadWith(along(mode, true)));
        std::string const first = countingBytes(12, 1);
        std::string const second = countingBytes(12, 25);
        EXPECT_EQ(pixels, first + first + second + std::string(12, '\0'));
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_THAT(log.getRecords()[0].message, HasSubstr("1 strips of directory z=1, c=0, t=0"));
    }
}

TEST_F(TiffFilesOptions, AnImageOnDiskFailsAtTheReadOfThePlane) {
    saveCutFiles();
    std::string pixels(12, '\0');
    EXPECT_TRUE(openWith({})->readPixels(2, 0, 0, 0, 12, pixels.data()));
    EXPECT_FALSE(openWith({})->readPixels(3, 0, 0, 0, 12, pixels.data()));
    EXPECT_TRUE(openWith(along(eTDM_Volume, true))->readPixels(3, 0, 0, 0, 12, pixels.data()));
}

TEST_F(TiffFilesOptions, TheDescriptionOfTheFirstFileIsKept) {
    std::vector<Part> parts = {makePart(makeVolume(2), 1), makePart(makeVolume(2), 2)};
    parts[0].userProperties = "first";
    parts[0].pCalibration = createGeometricCalibration2d(0.5F, 0.25F, "um", 0, 0, 0, 0, 0);
    parts[1].userProperties = "second";
    save(parts);
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        for (ImagePtr const& pImage : {loadWith(along(mode)), openWith(along(mode))}) {
            EXPECT_EQ(pImage->getUserPropertiesStr(), "first");
            ASSERT_TRUE(pImage->hasGeometricCalibration());
            EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeX(), 0.5F);
            EXPECT_EQ(readPixels(*pImage), mode == eTDM_Volume ? joinAlongZ(parts) : joinAlongT(parts));
        }
    }
}

TEST_F(TiffFilesOptions, ASingleMatchIsReadWithItsOptionsAndNoMatchIsNoImage) {
    EXPECT_FALSE(loadWith({}));
    EXPECT_FALSE(openWith({}));
    EXPECT_FALSE(resampleWith(3));
    RawDirectory const directory = greyDirectory(4, 3, 8);
    writeRawTiff(numbered(0), {directory, directory, directory});
    EXPECT_EQ(loadWith(along(eTDM_Temporal))->getGeometry().getSizeT(), 3U);
    EXPECT_EQ(openWith(along(eTDM_Temporal))->getGeometry().getSizeT(), 3U);
    std::string const pixels(12, 'x');
    EXPECT_FALSE(openWith({})->writePixels(0, 0, 0, 0, 12, pixels.data()));
}

TEST_F(TiffFilesOptions, ASingleMatchIsResampledAsEveryStack) {
    RawDirectory const directory = greyDirectory(4, 3, 8);
    writeRawTiff(numbered(0), {directory, directory, directory});
    writeSteps("1\n1\n");
    EXPECT_EQ(resampleWith(5)->getGeometry().getSizeZ(), 5U);
    writeSteps("1\n");
    EXPECT_THAT(thrownText<VELMOImageFileException>([&] { resampleWith(5); }),
                HasSubstr("Number of z-steps (1) does not match"));
}

TEST_F(TiffFilesOptions, ALineOfStepsThatIsNoPositiveNumberIsNamed) {
    save({makePart(makeVolume(2), 1), makePart(makeVolume(2), 2)});
    for (std::string const bad : {"x", "0", "-1", "nan", "inf", "1 1"}) {
        writeSteps("1\n\n" + bad + "\n1\n");
        EXPECT_EQ(thrownText<VELMOImageFileException>([&] { resampleWith(5); }),
                  "Error while loading z-steps txt file \"" + getStepsPath().string() +
                      "\": field at line 3 is not a positive numerical value");
    }
    writeSteps("1\n\n 2.5e0 \r\n1\n");
    EXPECT_EQ(resampleWith(7)->getGeometry().getSizeZ(), 7U);
}

TEST_F(TiffFilesOptions, StacksOfOneDirectoryAreJoinedInTheByteOrderOfThisMachine) {
    std::string expected;
    for (unsigned int index = 0; index < 3; ++index) {
        RawDirectory const stack = imageJStack("2", countingBytes(48, 48 * index), greyDirectory(4, 3, 16));
        writeRawTiff(numbered(index), {stack}, {false, true});
        std::string const stored = readFile(numbered(index));
        std::string const pixels = stored.substr(stored.size() - 48);
        for (std::size_t byte = 0; byte < 48; byte += 2) {
            expected += {pixels[byte + 1], pixels[byte]};
        }
    }
    EXPECT_EQ(readPixels(*loadWith({})), expected);
    EXPECT_EQ(readPixels(*openWith({})), expected);
}

} // namespace velmo::test
