// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>

namespace velmo::image::file {

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
