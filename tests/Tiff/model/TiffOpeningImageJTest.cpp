// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"
#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>
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

namespace {

/// One directory of 4 x 3 pixels whose description announces 5 planes.
RawDirectory makeFiveImages(unsigned int bits = 8) {
    return imageJStack("5", countingBytes(60 * bits / 8), greyDirectory(4, 3, bits));
}

class TiffImageJStackTest : public TiffTest {
  protected:
    Planes open(RawDirectory const& directory, RawLayout const& layout = {}) const {
        writeRawTiff(_path, {directory}, layout);
        return openPlanes(_path);
    }
};

} // namespace

TEST_F(TiffImageJStackTest, PlanesFollowTheFirstWithoutGap) {
    RawDirectory const directory = makeFiveImages();
    Planes const planes = open(directory);
    ASSERT_EQ(planes.pGeometry->getSizeZ(), 5U);
    for (vlUInt64 const z : {3U, 0U, 4U, 1U, 2U}) {
        EXPECT_EQ(planes.readPlane(z), directory.pixels.substr(12 * z, 12));
    }
}

TEST_F(TiffImageJStackTest, TimeStepsAreCountedAsPlanes) {
    RawDirectory const directory = makeFiveImages(16);
    writeRawTiff(_path, {directory});
    OpenRequest sequence;
    sequence.directoryMode = eTDM_Temporal;
    Planes const planes = openPlanes(_path, sequence);
    ASSERT_EQ(planes.pGeometry->getSizeT(), 5U);
    EXPECT_EQ(planes.readPlane(0, 0, 3), directory.pixels.substr(72, 24));
}

TEST_F(TiffImageJStackTest, ThePlacesOfPlanesAreCountedInPixelsAskedForAndNoStartCounts) {
    RawDirectory const directory = makeFiveImages();
    Planes const planes = open(directory);
    EXPECT_EQ(planes.read({2, 0, 0, 0, 5}), directory.pixels.substr(10, 5));
    EXPECT_EQ(planes.read({2, 0, 0, 7, 5}), directory.pixels.substr(10, 5));
    EXPECT_EQ(planes.read({1, 0, 0, 3, 12}), directory.pixels.substr(12, 12));
}

TEST_F(TiffImageJStackTest, BytesOfABigEndianFileStayAsTheyLie) {
    RawDirectory const directory = makeFiveImages(16);
    Planes const planes = open(directory, {false, true});
    std::string const bytes = readFile(_path);
    std::uint64_t const begin = bytes.size() - directory.pixels.size();
    EXPECT_EQ(planes.readPlane(1), bytes.substr(begin + 24, 24));
    EXPECT_EQ(planes.readPlane(0), bytes.substr(begin, 24));
}

TEST_F(TiffImageJStackTest, InterleavedPixelsComeAsTheyLie) {
    RawDirectory const directory = imageJStack("5", countingBytes(180), colorDirectory());
    Planes const planes = open(directory);
    EXPECT_EQ(planes.readPlane(1, 2), directory.pixels.substr(12, 12));
}

TEST_F(TiffImageJStackTest, WhatLiesBehindTheEndOfTheFileIsZero) {
    RawDirectory directory = makeFiveImages();
    directory.pixels.resize(30);
    Planes const planes = open(directory);
    EXPECT_EQ(planes.readPlane(1), directory.pixels.substr(12, 12));
    EXPECT_EQ(planes.readPlane(2), directory.pixels.substr(24, 6) + std::string(6, '\0'));
    EXPECT_EQ(planes.readPlane(3), std::string(12, '\0'));
    EXPECT_EQ(planes.readPlane(4), std::string(12, '\0'));
}

// The place of a plane is a product, which may be more than a file can have or more than 64 bits count.
TEST_F(TiffImageJStackTest, PlanesBeyondEveryPlaceAreZero) {
    Planes const planes = open(makeFiveImages());
    for (unsigned int const bits : {33U, 50U, 59U, 60U, 61U, 63U}) {
        EXPECT_EQ(planes.readPlane(vlUInt64(1) << bits), std::string(12, '\0')) << bits;
    }
    EXPECT_EQ(planes.readPlane(~vlUInt64(0)), std::string(12, '\0'));
}

TEST_F(TiffImageJStackTest, AFileThatVanishedIsTooFewArguments) {
    Planes const planes = open(makeFiveImages());
    boost::filesystem::remove(_path);
    EXPECT_THROW(planes.tryRead(planes.wholePlane()), boost::io::too_few_args);
}

TEST_F(TiffImageJStackTest, EachReadOpensAndClosesTheFile) {
    Planes const planes = open(makeFiveImages());
    planes.readPlane(1);
    planes.readPlane(2);
    EXPECT_EQ(countDescriptors(_path), 1U); // that of the handle
    RawDirectory other = makeFiveImages();
    other.pixels = countingBytes(60, 100);
    boost::filesystem::rename(_path, _folder / "away.tif");
    writeRawTiff(_path, {other}); // the path counts, not the handle
    EXPECT_EQ(planes.readPlane(1), other.pixels.substr(12, 12));
}

TEST_F(TiffImageJStackTest, ADirectoryWithoutStripOffsetsIsAFailureInPlainWords) {
    Planes const planes = plainPlanes(_path, "w", makeGeometry(eIBT_UInt8, {4, 3, 5, 2, 3}));
    TIFFSetField(planes.pTiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(planes.pTiff.get(), TIFFTAG_IMAGEDESCRIPTION, "ImageJ=1\nimages=5\n");
    EXPECT_THAT(planes.tryRead({4, 1, 2, 0, 12}),
                FailsWith("Can't read the strip offset for the slice z=4, c=1, t=2"));
}

TEST_F(TiffImageJStackTest, OnlyTheFirstPlaneCanBeWritten) {
    RawDirectory const directory = makeFiveImages();
    writeRawTiff(_path, {directory});
    Planes const planes = openPlanesForWriting(_path);
    for (vlUInt64 z = 1; z < 5; ++z) {
        EXPECT_THAT(planes.tryWrite(planes.wholePlane(z)), FailsInWords(setDirectoryFailed(z, _path)));
    }
    planes.writePlane("abcdefghijkl");
    EXPECT_EQ(planes.readPlane(), "abcdefghijkl");
    EXPECT_EQ(planes.readPlane(1), directory.pixels.substr(12, 12));
}

TEST_F(TiffImageJStackTest, AnAnnouncementOfAsManyPlanesAsDirectoriesIsNone) {
    RawDirectory const second = imageJStack("2", countingBytes(12, 50));
    writeRawTiff(_path, {imageJStack("2", countingBytes(12)), second});
    Planes const planes = openPlanes(_path);
    EXPECT_EQ(planes.readPlane(1), second.pixels);
    EXPECT_EQ(planes.read({1, 0, 0, 3, 4}), second.pixels.substr(3, 4));
}

TEST_F(TiffImageJStackTest, AStripOffsetIsCutTo32Bits) {
    RawDirectory directory = makeFiveImages();
    directory.set(TIFFTAG_STRIPOFFSETS, {TIFF_LONG8, {4294967296 + 16}, RawField::g_asValues});
    Planes const planes = open(directory, {true, false});
    EXPECT_EQ(planes.readPlane(1), readFile(_path).substr(16 + 12, 12));
}

} // namespace velmo::image::file
