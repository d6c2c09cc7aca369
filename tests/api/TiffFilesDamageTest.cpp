// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using processor::VELMOBaseProcessingException;

namespace {

/// Three files of two planes, whose directories are whole and whose second one ends in its last plane.
class TiffFilesDamage : public TiffFiles {
  protected:
    TiffFilesDamage() {
        for (unsigned int index = 0; index < 3; ++index) {
            RawDirectory first = greyDirectory(4, 3, 8);
            RawDirectory second = first;
            first.pixels = countingBytes(12, 1 + 24 * index);
            second.pixels = countingBytes(12, 13 + 24 * index);
            writeRawTiff(numbered(index), {first, second});
            _planes.push_back(first.pixels);
            _planes.push_back(second.pixels);
        }
        fs::resize_file(numbered(1), fs::file_size(numbered(1)) - 5);
        writeEvenSteps(6);
    }

    static std::string tryRead(BaseImage const& image, bool bAlongZ, vlUInt64 plane, std::string& pixels) {
        pixels.assign(12, '\0');
        return image.readPixels(bAlongZ ? plane : plane % 2, 0, bAlongZ ? 0 : plane / 2, 0, 12, pixels.data())
            .getMessage();
    }

    std::string getReadError() const {
        return "Failed to read data of strip 0 for directory z=1, c=0, t=0 of file " + numbered(1).string() +
               "\nTiff Error : ";
    }

    std::vector<std::string> _planes;
};

} // namespace

TEST_F(TiffFilesDamage, OfASequencePlanesThatAreCutShortAndThoseBehindThemStayZeroInMemoryWithOneWarning) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    std::string const pixels = readPixels(*load(eTDM_Temporal));
    EXPECT_EQ(pixels.substr(0, 36), _planes[0] + _planes[1] + _planes[2]);
    EXPECT_EQ(pixels.substr(48), std::string(24, '\0'));
    EXPECT_EQ(countOpenFiles(), 0U);
    ASSERT_EQ(log.getRecords().size(), 1U);
    CapturedLog::Record const record = log.getRecords()[0];
    EXPECT_EQ(record.logger, processor::getVELMOBaseProcessingLogger().getName());
    EXPECT_EQ(record.level, log4cplus::WARN_LOG_LEVEL);
    EXPECT_THAT(record.message,
                testing::StartsWith("Processor CopyImgLvl1 failed, and its result was not looked at\n" +
                                    getReadError()));
}

TEST_F(TiffFilesDamage, OfAVolumeTheyAreAnErrorThatIsLoggedOnce) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    EXPECT_THAT(thrownText<VELMOBaseProcessingException>([&] { load(eTDM_Volume); }),
                testing::HasSubstr(getReadError()));
    EXPECT_EQ(countOpenFiles(), 0U);
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(TiffFilesDamage, OfAJoinedDiskImageThatPlaneFailsWithTheWordsOfTheFileAndTheOthersAreRead) {
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ImagePtr const pImage = open(mode);
        for (vlUInt64 plane = 0; plane < 6; ++plane) {
            std::string pixels;
            std::string const message = tryRead(*pImage, mode == eTDM_Volume, plane, pixels);
            if (plane == 3) {
                EXPECT_THAT(message, testing::StartsWith(getReadError()));
            } else {
                EXPECT_EQ(message, "");
                EXPECT_EQ(pixels, _planes[plane]);
            }
        }
    }
}

TEST_F(TiffFilesDamage, ACustomStackFailsWithTheWordsOfTheFileAndOneRecord) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    try {
        loadStack(6, imaproc::attr::eIP_Linear);
        ADD_FAILURE() << "nothing was thrown";
    } catch (VELMOBaseProcessingException const& exception) {
        EXPECT_THAT(exception.what(), testing::HasSubstr("ResampleCustomZStack3dImgLvl1"));
        EXPECT_THAT(exception.what(), testing::HasSubstr(getReadError()));
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].message, exception.what());
        EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
    }
    EXPECT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(countOpenFiles(), 0U);
}

TEST_F(TiffFilesDamage, ACustomStackThatNeedsNoneOfThePlanesThatAreCutShortLoads) {
    writeSteps("1\n1\n0.5\n0.5\n2\n");
    ImagePtr const pImage = loadStack(6, imaproc::attr::eIP_Nearest);
    EXPECT_EQ(readPixels(*pImage),
              _planes[0] + _planes[1] + _planes[2] + _planes[4] + _planes[4] + _planes[5]);
}

// A load of one file fails there.
TEST_F(TiffFilesDamage, AStripOfColoursThatCannotBeDecodedIsBlackInEveryJoinedImage) {
    Part part = makePart(makeVolume(2, 1, eIBT_UInt8));
    part.pGeometry->getColorGeometry().initRgb();
    part.pixels = makePixels(*part.pGeometry);
    for (std::size_t index = 0; index < 3; ++index) {
        save(numbered(index), part, eTC_Lzw);
        spoilStrip(numbered(index), 1);
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        part.pixels.replace(30 * channel + 15, 15, 15, '\0');
    }
    for (Route const& route : getJoins()) {
        std::vector<Part> const parts(3, part);
        EXPECT_EQ(readPixels(*route()), route.bAlongZ ? joinAlongZ(parts) : joinAlongT(parts)) << route.name;
    }
}

} // namespace velmo::test
