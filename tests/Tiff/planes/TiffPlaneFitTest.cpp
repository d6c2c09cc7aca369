// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::image::file {

namespace {

std::string loadError(path const& path, std::string const& lower) {
    return "Error while loading tiff image file \"" + path.string() + "\"\n" + lower;
}

/// "loaded", or the text of what a load throws.
std::string tryLoad(path const& path) {
    try {
        loadTiffImageFile(path, eTBM_Default);
        return "loaded";
    } catch (std::exception const& exception) {
        return exception.what();
    }
}

// Pages of samples of two sizes

struct Sizes {
    std::uint16_t first;
    std::uint16_t second;
    friend void PrintTo(Sizes const& sizes, std::ostream* pStream) {
        *pStream << sizes.first << "Then" << sizes.second;
    }
};

class TiffTwoSampleSizesTest : public TiffTest, public testing::WithParamInterface<Sizes> {
  protected:
    void SetUp() override { writeTiff(_path, {makeRgb(GetParam().first), makeRgb(GetParam().second)}); }

    static Directory makeRgb(std::uint16_t bits) {
        Directory directory = stripDirectory(8, 8, 4, COMPRESSION_NONE, 3, bits);
        directory.pixels = noise(directory.countBytes());
        return directory;
    }
};

} // namespace

TEST_P(TiffTwoSampleSizesTest, TheFileDoesNotLoad) {
    EXPECT_THAT(tryLoad(_path),
                testing::StartsWith(loadError(_path, readStripFailed(0, {1, 0, 0, 0, 64}, _path))));
}

TEST_P(TiffTwoSampleSizesTest, ThePageThatDoesNotFitIsNotRead) {
    Planes const planes = openPlanes(_path);
    PixelRun const second = planes.wholePlane(1);
    EXPECT_THAT(planes.tryReadRgb(second), FailsLike(readStripFailed(0, second, _path)));
    EXPECT_THAT(planes.tryReadRgb({1, 0, 0, 40, 3}), FailsLike("Failed to read data of strip 0 "));
    EXPECT_THAT(planes.tryRead(second), FailsLike(readStripFailed(0, second, _path)));
    EXPECT_TRUE(interleave(planes.readRgb(planes.wholePlane(0)), GetParam().first / 8U) ==
                makeRgb(GetParam().first).pixels);
}

TEST_P(TiffTwoSampleSizesTest, ThePageThatDoesNotFitIsNotWrittenAndNoByteChanges) {
    std::string const before = readFile(_path);
    {
        Planes const planes = openPlanesForWriting(_path);
        PixelRun const second = planes.wholePlane(1);
        EXPECT_THAT(planes.tryWriteRgb(second), FailsLike(writeStripFailed(0, second, _path)));
        EXPECT_THAT(planes.tryWriteRgb({1, 0, 0, 40, 3}), FailsLike("Failed to write data of strip 0 "));
        EXPECT_THAT(planes.tryWrite(second), FailsLike(writeStripFailed(0, second, _path)));
    }
    EXPECT_TRUE(readFile(_path) == before);
}

INSTANTIATE_TEST_SUITE_P(Sizes, TiffTwoSampleSizesTest, testing::Values(Sizes{8, 16}, Sizes{16, 8}),
                         testing::PrintToStringParamName());

// Stored geometries beside other tags

namespace {

struct Patch {
    char const* name;
    std::uint16_t tag;
    std::uint8_t value;
    friend void PrintTo(Patch const& patch, std::ostream* pStream) { *pStream << patch.name; }
};

Patch const g_patches[] = {{"WiderByOne", TIFFTAG_IMAGEWIDTH, 21},  {"Wider", TIFFTAG_IMAGEWIDTH, 25},
                           {"Narrower", TIFFTAG_IMAGEWIDTH, 19},    {"OnePixelWide", TIFFTAG_IMAGEWIDTH, 1},
                           {"Higher", TIFFTAG_IMAGELENGTH, 25},     {"Lower", TIFFTAG_IMAGELENGTH, 10},
                           {"OtherBits", TIFFTAG_BITSPERSAMPLE, 16}};

std::size_t readWord(std::string const& bytes, std::size_t offset, std::size_t nbBytes) {
    std::size_t word = 0;
    while (nbBytes-- != 0) {
        word = word << 8U | static_cast<unsigned char>(bytes.at(offset + nbBytes));
    }
    return word;
}

/// Gives a small number in the first directory of a classic little-endian file another value.
void patchTag(path const& path, Patch const& patch) {
    std::string bytes = readFile(path);
    std::size_t const directory = readWord(bytes, 4, 4);
    std::size_t const nbEntries = readWord(bytes, directory, 2);
    bool bFound = false;
    for (std::size_t entry = 0; entry < nbEntries; ++entry) {
        std::size_t const at = directory + 2 + 12 * entry;
        if (readWord(bytes, at, 2) == patch.tag) {
            bytes.at(at + 8) = static_cast<char>(patch.value);
            bFound = true;
        }
    }
    ASSERT_TRUE(bFound);
    writeFile(path, bytes);
}

class TiffPatchedTagTest : public TiffTest, public testing::WithParamInterface<Patch> {
  protected:
    void writeOwnFile(eTiffCompression compression) const {
        Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {20, 20, 2}), compression);
        planes.writePlane(noise(400, 1), 0);
        planes.writePlane(noise(400, 2), 1);
    }
};

} // namespace

TEST_P(TiffPatchedTagTest, AStoredFileOfOtherSizesDoesNotLoad) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        writeOwnFile(compression);
        ASSERT_EQ(tryLoad(_path), "loaded");
        patchTag(_path, GetParam());
        EXPECT_THAT(tryLoad(_path),
                    testing::StartsWith(loadError(_path, readStripFailed(0, PixelRun(), _path))));
    }
}

TEST_P(TiffPatchedTagTest, AWriteIntoItFailsAndChangesNoByte) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        writeOwnFile(compression);
        patchTag(_path, GetParam());
        std::string const before = readFile(_path);
        {
            Planes const planes = openPlanesForWriting(_path);
            EXPECT_THAT(planes.tryWrite(planes.wholePlane()),
                        FailsLike(writeStripFailed(0, PixelRun(), _path)));
            EXPECT_TRUE(planes.readPlane(1) == noise(400, 2));
        }
        EXPECT_TRUE(readFile(_path) == before);
    }
}

INSTANTIATE_TEST_SUITE_P(Patches, TiffPatchedTagTest, testing::ValuesIn(g_patches),
                         testing::PrintToStringParamName());

} // namespace velmo::image::file
