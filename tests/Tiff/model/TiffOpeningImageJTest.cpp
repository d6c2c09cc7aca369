// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

#include <ostream>

namespace velmo::image::file {

namespace {

constexpr std::size_t g_walked = 0; ///< in place of an announced count: the directories were counted

struct Announcement {
    std::string name;
    std::string description;
    vlUInt64 nbPlanes; ///< announced, or `g_walked`
    friend void PrintTo(Announcement const& row, std::ostream* pStream) { *pStream << row.name; }
};

std::vector<Announcement> const g_announcements = {
    {"Images", "ImageJ=1.53t\nimages=40\nslices=8\nframes=5\n", 40},
    {"Slices", "ImageJ=1.53t\nslices=12\n", 12},
    {"ImagesWinOverEarlierSlices", "ImageJ=1.53t\nslices=12\nimages=7\n", 7},
    {"ProgramNamedLast", "images=5\nImageJ=", 5},
    {"ProgramNamedInsideOfAWord", "made by MyImageJ=2 images=5", 5},
    {"KeyInsideOfAWord", "ImageJ=1\nfakeimages=6\n", 6},
    {"TheFirstOfTwoCounts", "ImageJ=1\nimages=6\nimages=9\n", 6},
    {"TextBehindTheNumber", "ImageJ=1\nimages=9 planes\n", 9},
    {"SpaceAndSignBeforeTheNumber", "ImageJ=1\nimages= \t\r+11\n", 11},
    {"LeadingZeros", "ImageJ=1\nimages=0010\n", 10},
    {"NoLineFeedBehind", "ImageJ=1\nimages=13", 13},
    {"ADigitIsNoHexadecimal", "ImageJ=1\nslices=8x10", 8},
    {"LargestOf32Bits", "ImageJ=1\nimages=2147483647\n", 2147483647},
    {"One", "ImageJ=1\nimages=1\n", 1},
    {"AsManyAsDirectories", "ImageJ=1\nimages=2\n", g_walked},
    {"NoProgram", "images=40\nslices=40\n", g_walked},
    {"ProgramWithoutItsSign", "ImageJ 1.53t\nimages=40\n", g_walked},
    {"ProgramInOtherLetters", "imagej=1\nimages=40\n", g_walked},
    {"NoCount", "ImageJ=1.53t\nunit=micron\n", g_walked},
    {"KeyInOtherLetters", "ImageJ=1\nImages=40\n", g_walked},
    {"MinusOneIsNoCount", "ImageJ=1\nimages=-1\n", g_walked},
    {"Empty", "", g_walked},
};

struct Refusal {
    std::string name;
    std::string count; ///< behind "images="
    friend void PrintTo(Refusal const& row, std::ostream* pStream) { *pStream << row.name; }
};

std::vector<Refusal> const g_noNumbers = {{"Empty", ""},
                                          {"EmptyLineBeforeANumber", "\n5"},
                                          {"Word", "many\n"},
                                          {"SignAlone", "-\n"},
                                          {"SpaceInsideOfSign", "- 5\n"},
                                          {"TooLarge", "2147483648\n"},
                                          {"TooSmall", "-2147483649\n"},
                                          {"FarTooLarge", "99999999999999999999999999\n"}};

RawDirectory described(std::string const& description) {
    return greyDirectory().set(TIFFTAG_IMAGEDESCRIPTION, ascii(description));
}

class TiffOpeningImageJ : public TiffTest {
  protected:
    std::string exceptionText(std::string const& what) const {
        return "An exception has been thrown while opening file " + _path.string() + "\n" + what;
    }
};

class TiffOpeningAnnouncement : public TiffOpeningImageJ, public testing::WithParamInterface<Announcement> {};
class TiffOpeningNoNumber : public TiffOpeningImageJ, public testing::WithParamInterface<Refusal> {};

} // namespace

TEST_P(TiffOpeningAnnouncement, CountsPlanesInPlaceOfDirectories) {
    writeRawTiff(_path, {described(GetParam().description), greyDirectory(4, 3, 16)});
    bool const bWalked = GetParam().nbPlanes == g_walked;
    vlUInt64 const nbPlanes = bWalked ? 2 : GetParam().nbPlanes;
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        OpenedTiff const file(_path, {eIAM_ReadOnly, mode});
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(file.pGeometry->getSizeZ(), mode == eTDM_Volume ? nbPlanes : 1);
        EXPECT_EQ(file.pGeometry->getSizeT(), mode == eTDM_Temporal ? nbPlanes : 1);
        EXPECT_EQ(dynamic_cast<HeterogeneousImageGeometry*>(file.pGeometry.get()) != nullptr, bWalked);
        EXPECT_EQ(TIFFCurrentDirectory(file.pTiff), bWalked ? 1U : 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Descriptions, TiffOpeningAnnouncement, testing::ValuesIn(g_announcements),
                         testing::PrintToStringParamName());

TEST_P(TiffOpeningNoNumber, MakesTheOpeningFail) {
    for (std::string const key : {"images=", "slices="}) {
        writeRawTiff(_path, {described("ImageJ=1\n" + key + GetParam().count)});
        OpenedTiff const file(_path);
        EXPECT_THAT(file.result, FailsWith(exceptionText("stoi")));
        EXPECT_EQ(file.pTiff, nullptr);
        EXPECT_FALSE(file.pGeometry);
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, TiffOpeningNoNumber, testing::ValuesIn(g_noNumbers),
                         testing::PrintToStringParamName());

TEST_F(TiffOpeningImageJ, AnAnnouncedSinglePlaneHidesTheFurtherDirectories) {
    writeRawTiff(
        _path, {described("ImageJ=1\nimages=1\n"), greyDirectory(9, 9).set(TIFFTAG_SUBFILETYPE, longs({1}))});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(describeGeometry(*file.pGeometry), "x=4 y=3 z=1 c=1 t=1 eIBT_UInt8");
    EXPECT_EQ(file.pGeometry->getVolumeGeometryType(), eVGT_2d);
}

TEST_F(TiffOpeningImageJ, AnAnnouncedCountOfZeroIsAnEmptyImage) {
    writeRawTiff(_path, {described("ImageJ=1\nimages=0\n")});
    OpenedTiff const volume(_path);
    ASSERT_THAT(volume.result, Succeeds());
    EXPECT_EQ(volume.pGeometry->getSizeZ(), 0U);
    OpenedTiff const sequence(_path, {eIAM_ReadOnly, eTDM_Temporal});
    ASSERT_THAT(sequence.result, Succeeds());
    EXPECT_EQ(sequence.pGeometry->getSizeT(), 0U);
}

TEST_F(TiffOpeningImageJ, TheDescriptionOfAFurtherDirectoryIsNotRead) {
    writeRawTiff(_path, {greyDirectory(), described("ImageJ=1\nimages=x\n"), greyDirectory()});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(file.pGeometry->getSizeZ(), 3U);
}

TEST_F(TiffOpeningImageJ, DirectoriesOfAChainThatComesBackAreCountedOnce) {
    std::vector<RawDirectory> directories = {described("ImageJ=1\nimages=3\n"), greyDirectory(4, 3, 16),
                                             greyDirectory()};
    directories[2].next = findDirectories(directories)[1];
    writeRawTiff(_path, directories);
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(file.pGeometry->getSizeZ(), 3U);
    EXPECT_NE(dynamic_cast<HeterogeneousImageGeometry*>(file.pGeometry.get()), nullptr);
}

TEST_F(TiffOpeningImageJ, AColorStackKeepsItsChannels) {
    writeRawTiff(_path, {colorDirectory().set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1\nimages=3\n"))});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(describeGeometry(*file.pGeometry), "x=4 y=3 z=3 c=3 t=1 eIBT_UInt8");
}

TEST_F(TiffOpeningImageJ, ACountThatNoImageCanHaveIsRefused) {
    for (std::string const count : {"-2", "-2147483648"}) {
        writeRawTiff(_path, {described("ImageJ=1\nimages=" + count + "\n")});
        OpenedTiff const file(_path);
        EXPECT_THAT(file.result, FailsLike(exceptionText("")));
        EXPECT_GT(file.result.getMessage().size(), exceptionText("").size());
        EXPECT_EQ(file.pTiff, nullptr);
        EXPECT_FALSE(file.pGeometry);
    }
}

TEST_F(TiffOpeningImageJ, BytesBeyond64BitsAreRefused) {
    unsigned int const size = 0x7FFFFFFFU;
    RawDirectory directory = described("ImageJ=1\nimages=2147483647\n");
    directory.set(TIFFTAG_IMAGEWIDTH, longs({size})).set(TIFFTAG_IMAGELENGTH, longs({size}));
    directory.set(TIFFTAG_ROWSPERSTRIP, longs({size}));
    writeRawTiff(_path, {directory});
    OpenedTiff const file(_path);
    EXPECT_FALSE(file.result);
    EXPECT_THAT(file.result.getMessage(), testing::HasSubstr(_path.string()));
    EXPECT_EQ(file.pTiff, nullptr);
}

} // namespace velmo::image::file
