// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <fstream>

namespace velmo::image::file {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char const* g_description = "ImageJ=1.53t\nimages=5\nslices=5\n";

/// One directory of 4 x 3 pixels whose description announces 5 planes.
RawDirectory makeStack(unsigned int bits = 8) {
    return imageJStack("5", countingBytes(60 * bits / 8), greyDirectory(4, 3, bits));
}

/// The bytes of each sample in the opposite order.
std::string swapped(std::string bytes, std::size_t width) {
    for (std::size_t sample = 0; sample < bytes.size(); sample += width) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(sample),
                     bytes.begin() + static_cast<std::ptrdiff_t>(sample + width));
    }
    return bytes;
}

std::string missing(vlUInt64 nbAnnounced, path const& path, vlUInt64 nbHeld) {
    return "The description announces " + std::to_string(nbAnnounced) + " planes, file " + path.string() +
           " holds " + std::to_string(nbHeld);
}

std::string brokenBehind(vlUInt64 directory, path const& path) {
    return "The chain of directories breaks off behind directory " + std::to_string(directory) + " of file " +
           path.string();
}

class CheckedStacks : public TiffTest {
  protected:
    /// The load and the opening fail in calls with options.
    void expectRefused(std::string const& reason) const {
        EXPECT_THAT(loadChecked(_path).failure,
                    testing::StartsWith("Error while loading tiff image file \"" + _path.string() +
                                        "\"\nFailed to open tiff image file " + _path.string() + "\n" +
                                        reason));
        EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Strict).getOpening().getMessage(), HasSubstr(reason));
    }
};

} // namespace

TEST_F(CheckedStacks, PlanesComeInTheByteOrderOfThisMachine) {
    for (unsigned int const bits : {8U, 16U, 32U}) {
        RawDirectory const directory = makeStack(bits);
        writeRawTiff(_path, {directory}, {false, true});
        std::string const stored = readFile(_path);
        std::string const pixels = stored.substr(stored.size() - directory.pixels.size());
        EXPECT_EQ(loadChecked(_path).pixels, swapped(pixels, bits / 8)) << bits;
        EXPECT_THAT(loadChecked(_path).warnings, IsEmpty());

        Loaded const plain = loadPlainly(_path);
        EXPECT_EQ(plain.pixels, pixels) << bits;
        if (bits == 8) {
            EXPECT_THAT(plain.warnings, IsEmpty());
        } else {
            EXPECT_THAT(plain.warnings, ElementsAre("Planes of file " + _path.string() +
                                                    " are not converted to the byte order of this machine"));
        }
    }
}

TEST_F(CheckedStacks, PartsOfPlanesAreInTheirPlace) {
    RawDirectory const directory = makeStack(16);
    writeRawTiff(_path, {directory});
    PolicyFile const file(_path, eTiffPolicy::Strict);
    for (vlUInt64 const z : {4U, 0U, 2U}) {
        EXPECT_EQ(file.read({z, 0, 0, 5, 6}).pixels, directory.pixels.substr(24 * z + 10, 12));
    }
    EXPECT_THAT(file.read({2, 0, 0, 7, 6}).failure,
                HasSubstr("Pixels 7 to 12 are not all inside the plane of 12 pixels"));
    EXPECT_THAT(file.getWarnings(), IsEmpty());

    PolicyFile const plain(_path, eTiffPolicy::Plain);
    EXPECT_EQ(plain.read({2, 0, 0, 5, 6}).pixels, directory.pixels.substr(24, 12));
    EXPECT_EQ(plain.read({1, 0, 0, 0, 6}).pixels, directory.pixels.substr(12, 12));
    EXPECT_EQ(plain.readPlane(3).pixels, directory.pixels.substr(72, 24));
    EXPECT_THAT(plain.getWarnings(), ElementsAre(HasSubstr("A part of plane z=2, c=0, t=0"),
                                                 HasSubstr("A part of plane z=1, c=0, t=0")));
    boost::filesystem::remove(_path); // no second descriptor is opened
    EXPECT_EQ(file.readPlane(3).pixels, directory.pixels.substr(72, 24));
}

TEST_F(CheckedStacks, ChannelsOfInterleavedPixelsAreSeparated) {
    RawDirectory const directory = imageJStack("5", noise(180), colorDirectory());
    writeRawTiff(_path, {directory});
    PolicyFile const file(_path, eTiffPolicy::Strict);
    std::string all;
    for (vlUInt64 z = 0; z < 5; ++z) {
        for (vlUInt64 c = 0; c < 3; ++c) {
            std::string const plane = pickChannel(directory.pixels.substr(36 * z, 36), 3, c, 1);
            EXPECT_EQ(file.readPlane(z, c).pixels, plane);
            EXPECT_EQ(file.read({z, c, 0, 3, 5}).pixels, plane.substr(3, 5));
            all += plane;
        }
    }
    EXPECT_EQ(loadChecked(_path).pixels, all);
    EXPECT_FALSE(loadPlainly(_path).pixels);
}

TEST_F(CheckedStacks, LargeInterleavedPlanesAreReadInPieces) {
    RawDirectory directory = colorDirectory();
    directory.set(TIFFTAG_IMAGEWIDTH, longs({1000})).set(TIFFTAG_IMAGELENGTH, longs({500}));
    directory.set(TIFFTAG_STRIPBYTECOUNTS, longs({1500000})).without(TIFFTAG_ROWSPERSTRIP);
    directory = imageJStack("2", noise(3000000), directory);
    writeRawTiff(_path, {directory});
    PolicyFile const file(_path, eTiffPolicy::Strict);
    EXPECT_TRUE(file.readPlane(1, 2).pixels == pickChannel(directory.pixels.substr(1500000), 3, 2, 1));
}

TEST_F(CheckedStacks, PlanesBeyond4GibAreRead) {
    RawDirectory directory = makeStack();
    directory.pixels.clear();
    constexpr std::uint64_t place = (std::uint64_t{5} << 30) + 7;
    directory.set(TIFFTAG_STRIPOFFSETS, RawField{TIFF_LONG8, {place}});
    writeRawTiff(_path, {directory}, {true, false});
    boost::filesystem::resize_file(_path, place);
    std::string const pixels = noise(60);
    std::ofstream(_path.string(), std::ios::binary | std::ios::app) << pixels;
    EXPECT_EQ(loadChecked(_path).pixels, pixels);
    EXPECT_EQ(PolicyFile(_path, eTiffPolicy::Strict).read({4, 0, 0, 2, 3}).pixels, pixels.substr(50, 3));
}

TEST_F(CheckedStacks, PlanesThatAreAnnouncedAndNotThereAreAFailure) {
    RawDirectory directory = makeStack();
    directory.pixels.resize(40); // three planes and a part of the fourth
    writeRawTiff(_path, {directory});
    expectRefused(missing(5, _path, 3));

    std::string expected = directory.pixels;
    expected.resize(60);
    Loaded const loaded = loadChecked(_path, tolerant());
    EXPECT_EQ(loaded.pixels, expected);
    EXPECT_THAT(loaded.warnings, ElementsAre(missing(5, _path, 3), HasSubstr("Plane z=3, c=0, t=0 of file"),
                                             HasSubstr("Plane z=4, c=0, t=0 of file")));
    Loaded const plain = loadPlainly(_path);
    EXPECT_EQ(plain.pixels, expected);
    EXPECT_THAT(plain.warnings, ElementsAre(HasSubstr("Plane z=3, c=0, t=0 of file"),
                                            HasSubstr("Plane z=4, c=0, t=0 of file")));
}

TEST_F(CheckedStacks, AFileThatIsCutAfterItsOpeningIsAFailureOfTheRead) {
    writeRawTiff(_path, {makeStack()});
    PolicyFile const file(_path, eTiffPolicy::Strict);
    PolicyFile const tolerantFile(_path, eTiffPolicy::Tolerant);
    boost::filesystem::resize_file(_path, boost::filesystem::file_size(_path) - 6);
    EXPECT_EQ(file.readPlane(3).pixels, makeStack().pixels.substr(36, 12));
    EXPECT_THAT(file.readPlane(4).failure,
                HasSubstr("Plane z=4, c=0, t=0 of file " + _path.string() + " ends behind the end"));
    EXPECT_EQ(tolerantFile.readPlane(4).pixels, makeStack().pixels.substr(48, 6) + std::string(6, '\0'));
}

TEST_F(CheckedStacks, APlaneOfACompressedDirectoryCannotBeLocated) {
    Directory directory = stripDirectory(4, 3, 0, COMPRESSION_LZW);
    directory.tags[TIFFTAG_IMAGEDESCRIPTION] = std::string(g_description);
    directory.pixels = noise(12);
    writeTiff(_path, {directory});
    expectRefused(
        "The description announces 5 planes, but the planes behind the first one cannot be located");
    EXPECT_EQ(loadChecked(_path, tolerant()).pixels, directory.pixels);
}

TEST_F(CheckedStacks, StripsWithGapsDoNotTellWhereFurtherPlanesLie) {
    RawDirectory directory = makeStack();
    directory.set(TIFFTAG_ROWSPERSTRIP, shorts({2})).set(TIFFTAG_STRIPBYTECOUNTS, longs({8, 4}));
    directory.set(TIFFTAG_STRIPOFFSETS, longs({g_atPixels, 8})); // the second one in the header
    writeRawTiff(_path, {directory});
    expectRefused(
        "The description announces 5 planes, but the planes behind the first one cannot be located");
}

TEST_F(CheckedStacks, ManyAnnouncedPlanesAreRefusedBeforeMemoryIsAllocated) {
    writeRawTiff(_path, {imageJStack("2000000000", countingBytes(60))});
    expectRefused(missing(2000000000, _path, 5));
    EXPECT_THAT(loadChecked(_path, tolerant()).failure,
                HasSubstr("The file announces 24000000000 bytes of pixels"));
    EXPECT_THAT(loadPlainly(_path).failure, HasSubstr("The file announces 24000000000 bytes of pixels"));
}

TEST_F(CheckedStacks, AnAnnouncementOf16TimesTheBytesOfAFileOf64KibibytesIsBelieved) {
    for (std::uint64_t const sizeX : {524288U, 524296U}) { // 16 times 64 KiB in two planes, and 16 bytes more
        RawDirectory directory = greyDirectory();
        directory.set(TIFFTAG_IMAGEWIDTH, longs({sizeX})).set(TIFFTAG_IMAGELENGTH, longs({1}));
        directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53t\nimages=2\n"));
        writeRawTiff(_path, {directory});
        Loaded const loaded = loadPlainly(_path);
        EXPECT_EQ(loaded.pixels.has_value(), sizeX == 524288) << loaded.failure;
    }
}

TEST_F(CheckedStacks, DirectoriesArePlanesWhereADescriptionAnnouncesFewer) {
    for (char const* const nbPlanes : {"1", "0", "-7"}) {
        RawDirectory const first = imageJStack(nbPlanes, noise(12, 1));
        RawDirectory second = greyDirectory();
        second.pixels = noise(12, 2);
        writeRawTiff(_path, {first, second});
        EXPECT_EQ(loadChecked(_path).pixels, first.pixels + second.pixels) << nbPlanes;
    }
}

TEST_F(CheckedStacks, MoreAnnouncedPlanesThanSeveralDirectoriesAreMissing) {
    RawDirectory const first = imageJStack("5", noise(12, 1));
    RawDirectory second = greyDirectory();
    second.pixels = noise(12, 2);
    writeRawTiff(_path, {first, second});
    expectRefused(missing(5, _path, 2));
    Loaded const loaded = loadChecked(_path, tolerant());
    EXPECT_EQ(loaded.pixels, first.pixels + second.pixels);
    EXPECT_THAT(loaded.warnings, ElementsAre(missing(5, _path, 2)));
}

TEST_F(CheckedStacks, ADescriptionOfAFurtherDirectoryNeedsNoNumber) {
    RawDirectory first = greyDirectory();
    first.pixels = noise(12, 1);
    RawDirectory const second = imageJStack("many", noise(12, 2));
    writeRawTiff(_path, {first, second, first});
    EXPECT_EQ(loadChecked(_path).pixels, first.pixels + second.pixels + first.pixels);
    EXPECT_EQ(PolicyFile(_path, eTiffPolicy::Strict).readPlane(1).pixels, second.pixels);
}

TEST_F(CheckedStacks, AChainThatBreaksOffIsAFailureOrAWarning) {
    std::vector<RawDirectory> directories(4, greyDirectory());
    for (std::uint64_t const next :
         {std::uint64_t{1000000}, std::uint64_t{8}}) { // outside, or back to the first
        directories[2].next = next;
        writeRawTiff(_path, directories);
        std::string const broken = brokenBehind(2, _path);
        expectRefused(broken);
        for (Loaded const& loaded : {loadPlainly(_path), loadChecked(_path, tolerant())}) {
            EXPECT_EQ(loaded.pixels.value_or("").size(), 36U);
            EXPECT_THAT(loaded.warnings, ElementsAre(broken));
        }
    }
    directories[2].next = g_following;
    writeRawTiff(_path, directories);
    EXPECT_EQ(loadChecked(_path).pixels.value_or("").size(), 48U);
    EXPECT_THAT(loadPlainly(_path).warnings, IsEmpty());
}

TEST_F(CheckedStacks, DirectoriesThatAreLostBehindTheFirstDoNotMakeItAStack) {
    std::vector<RawDirectory> directories(5, greyDirectory());
    directories[0].set(TIFFTAG_IMAGEDESCRIPTION, ascii(g_description));
    directories[0].next = 1000000;
    writeRawTiff(_path, directories);
    expectRefused(brokenBehind(0, _path));
    Loaded const loaded = loadChecked(_path, tolerant());
    EXPECT_EQ(loaded.pixels, directories[0].pixels);
    EXPECT_THAT(loaded.warnings, ElementsAre(brokenBehind(0, _path)));
    EXPECT_THAT(loadPlainly(_path).warnings, testing::Contains(brokenBehind(0, _path)));
}

TEST_F(CheckedStacks, ADirectoryWithoutEntriesBreaksTheChain) {
    std::vector<RawDirectory> directories(3, greyDirectory());
    directories[1].fields.clear();
    writeRawTiff(_path, directories);
    expectRefused(brokenBehind(0, _path));
}

TEST_F(CheckedStacks, MoreThan65536DirectoriesAreAllRead) {
    constexpr std::size_t nbDirectories = 65539;
    std::vector<RawDirectory> directories(nbDirectories, greyDirectory(1, 1));
    std::string expected;
    for (std::size_t directory = 0; directory < nbDirectories; ++directory) {
        directories[directory].pixels = std::string(1, static_cast<char>(directory / 251 + directory));
        expected += directories[directory].pixels;
    }
    writeRawTiff(_path, directories);
    Loaded const checked = loadChecked(_path);
    EXPECT_TRUE(checked.pixels == expected) << checked.failure;
    EXPECT_THAT(checked.warnings, IsEmpty());
    Loaded const plain = loadPlainly(_path);
    std::string const wrapped = expected.substr(0, 65536) + expected.substr(0, 3);
    EXPECT_TRUE(plain.pixels == wrapped) << plain.failure;
    EXPECT_THAT(plain.warnings, ElementsAre("Directory 65536 is addressed as directory 0 of file " +
                                                _path.string() + ": directory numbers have 16 bits",
                                            HasSubstr("Directory 65537 is addressed as directory 1"),
                                            HasSubstr("Directory 65538 is addressed as directory 2")));
}

TEST_F(CheckedStacks, DirectoriesThatShareAStripLoadInAllCalls) {
    for (std::size_t const nbDirectories : {40U, 1000U}) {
        std::vector<RawDirectory> directories(nbDirectories, greyDirectory(300, 300));
        for (RawDirectory& directory : directories) {
            directory.pixels.clear();
        }
        directories.back().pixels = noise(90000);
        writeRawTiff(_path, directories);
        std::uint64_t const place = boost::filesystem::file_size(_path) - 90000;
        for (RawDirectory& directory : directories) {
            directory.set(TIFFTAG_STRIPOFFSETS, longs({place}));
        }
        writeRawTiff(_path, directories);
        ASSERT_EQ(boost::filesystem::file_size(_path), place + 90000);
        for (Loaded const& loaded : {loadPlainly(_path), loadChecked(_path)}) {
            ASSERT_TRUE(loaded.pixels) << loaded.failure;
            EXPECT_EQ(loaded.pixels->size(), 90000 * nbDirectories);
            EXPECT_TRUE(loaded.pixels->substr(90000 * (nbDirectories - 1)) == directories.back().pixels);
        }
        directories[nbDirectories / 2].set(TIFFTAG_STRIPOFFSETS, longs({place + 1})); // ends behind the file
        writeRawTiff(_path, directories);
        EXPECT_THAT(loadPlainly(_path).failure, HasSubstr("The file announces"));
        EXPECT_THAT(loadChecked(_path).failure, HasSubstr("The file announces"));
    }
}

TEST_F(CheckedStacks, APlainOpeningWarnsOfPlanesThatItCannotReadRight) {
    auto const warningsOf = [&](RawDirectory const& directory, bool bBigTiff = false) {
        writeRawTiff(_path, {directory}, {bBigTiff, false});
        return PolicyFile(_path, eTiffPolicy::Plain).getWarnings();
    };
    EXPECT_THAT(warningsOf(makeStack()), IsEmpty());
    EXPECT_THAT(warningsOf(imageJStack("5", countingBytes(36), colorDirectory())),
                ElementsAre("Channels of the planes of file " + _path.string() + " are not separated"));
    RawDirectory packed = makeStack();
    packed.set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_LZW}));
    EXPECT_THAT(warningsOf(packed), ElementsAre(HasSubstr("cannot be located in file")));
    RawDirectory far = makeStack();
    far.set(TIFFTAG_STRIPOFFSETS, RawField{TIFF_LONG8, {(std::uint64_t{5} << 30) + 7}});
    EXPECT_THAT(
        warningsOf(far, true),
        ElementsAre(
            "The first strip of file " + _path.string() +
            " is read from byte 1073741831 instead of 5368709127: only 32 bits of its offset are used"));
    RawDirectory second = greyDirectory();
    writeRawTiff(_path, {makeStack(), second});
    EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Plain).getWarnings(),
                ElementsAre(HasSubstr("cannot be located in file")));
}

} // namespace velmo::image::file
