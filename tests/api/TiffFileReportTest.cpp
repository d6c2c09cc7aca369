// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <VELMOImageFile/VELMOImageFileException.h>

namespace velmo::test {

using namespace image;
using namespace image::file;
using testing::HasSubstr;

namespace {

class TiffReport : public TiffFunctions {
  protected:
    TiffFileReport describe(std::vector<RawDirectory> const& directories,
                            RawLayout const& layout = {}) const {
        writeRawTiff(_path, directories, layout);
        TiffFileReport const report = describeTiffFile(_path);
        EXPECT_EQ(0U, countDescriptors(_path));
        return report;
    }

    static RawDirectory announcing(std::string const& images) {
        RawDirectory directory = greyDirectory();
        return directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53\nimages=" + images + '\n'));
    }
};

} // namespace

TEST_F(TiffReport, TellsTheLayoutOfTheFile) {
    for (bool const bBigTiff : {false, true}) {
        for (bool const bBigEndian : {false, true}) {
            TiffFileReport const report =
                describe({greyDirectory(), greyDirectory(), greyDirectory()}, {bBigTiff, bBigEndian});
            EXPECT_EQ(bBigTiff, report.bBigTiff);
            EXPECT_EQ(bBigEndian, report.bBigEndian);
            EXPECT_FALSE(report.bOwnFile);
            EXPECT_EQ(3U, report.nbDirectories);
            EXPECT_FALSE(report.bChainBroken);
            EXPECT_EQ(0U,
                      report.nbTiled + report.nbTurned + report.nbAnnouncedPlanes + report.nbMissingPlanes);
        }
    }
}

TEST_F(TiffReport, RecognisesAFileOfThisLibrary) {
    saveExample(eTC_Lzw);
    TiffFileReport const report = describeTiffFile(_path);
    EXPECT_TRUE(report.bOwnFile);
    EXPECT_EQ(8U, report.nbDirectories);
}

TEST_F(TiffReport, CountsTiledAndTurnedDirectories) {
    RawDirectory tiled = greyDirectory(16, 16);
    tiled.set(TIFFTAG_TILEWIDTH, shorts({16})).set(TIFFTAG_TILELENGTH, shorts({16}));
    tiled.fields[TIFFTAG_TILEOFFSETS] = tiled.fields[TIFFTAG_STRIPOFFSETS];
    tiled.fields[TIFFTAG_TILEBYTECOUNTS] = tiled.fields[TIFFTAG_STRIPBYTECOUNTS];
    tiled.without(TIFFTAG_STRIPOFFSETS).without(TIFFTAG_STRIPBYTECOUNTS);
    RawDirectory turned = greyDirectory();
    turned.set(TIFFTAG_ORIENTATION, shorts({ORIENTATION_BOTLEFT}));
    TiffFileReport const report = describe({greyDirectory(), tiled, turned, turned});
    EXPECT_EQ(4U, report.nbDirectories);
    EXPECT_EQ(1U, report.nbTiled);
    EXPECT_EQ(2U, report.nbTurned);
}

TEST_F(TiffReport, ReadsTheDirectoriesBeforeABreakOfTheirChain) {
    RawDirectory lost = greyDirectory();
    lost.next = 0x7FFFFFF0;
    TiffFileReport const outside = describe({greyDirectory(), lost});
    EXPECT_EQ(2U, outside.nbDirectories);
    EXPECT_TRUE(outside.bChainBroken);
    RawDirectory circle = greyDirectory();
    circle.next = findDirectories({greyDirectory(), circle}).front();
    TiffFileReport const back = describe({greyDirectory(), circle});
    EXPECT_EQ(2U, back.nbDirectories);
    EXPECT_TRUE(back.bChainBroken);
    TiffFileReport const unreadable =
        describe({greyDirectory(), greyDirectory().without(TIFFTAG_IMAGEWIDTH)});
    EXPECT_EQ(1U, unreadable.nbDirectories);
    EXPECT_TRUE(unreadable.bChainBroken);
}

TEST_F(TiffReport, CountsAnnouncedPlanesThatTheFileDoesNotHold) {
    RawDirectory stack = announcing("5");
    stack.pixels = std::string(3 * 12, 'x');
    TiffFileReport const report = describe({stack});
    EXPECT_EQ(5U, report.nbAnnouncedPlanes);
    EXPECT_EQ(2U, report.nbMissingPlanes);
    stack.pixels = std::string(5 * 12, 'x');
    EXPECT_EQ(0U, describe({stack}).nbMissingPlanes);
    EXPECT_EQ(3U, describe({announcing("5"), greyDirectory()}).nbMissingPlanes);
    stack.set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_LZW}));
    EXPECT_EQ(4U, describe({stack}).nbMissingPlanes);
}

TEST_F(TiffReport, IgnoresAnAnnouncementWithoutAUsableNumber) {
    for (char const* const images : {"many", "-3", "99999999999999"}) {
        TiffFileReport const report = describe({announcing(images)});
        EXPECT_EQ(0U, report.nbAnnouncedPlanes) << images;
        EXPECT_EQ(0U, report.nbMissingPlanes) << images;
    }
}

TEST_F(TiffReport, OfAnotherKindOfFileIsAnErrorThatNamesIt) {
    writeFile(_path, "no TIFF file");
    EXPECT_THAT(textThrownBy([&] { describeTiffFile(_path); }), HasSubstr(_path.string()));
    EXPECT_THROW(describeTiffFile(_folder / "missing.tif"), VELMOImageFileException);
}

} // namespace velmo::test
