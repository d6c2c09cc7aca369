// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::image::file {

namespace {

std::string loadError(path const& path, std::string const& lower) {
    return "Error while loading tiff image file \"" + path.string() + "\"\n" + lower;
}

using TiffPlaneFitTest = TiffTest;

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

// A page without the size of its samples

TEST_F(TiffPlaneFitTest, APlainReadOfAPageWithoutBitsPerSampleNamesNoBits) {
    writeRawTiff(_path, {greyDirectory(), greyDirectory().without(TIFFTAG_BITSPERSAMPLE)});
    Planes const planes = plainPlanes(_path, "r", makeGeometry(eIBT_UInt8, {4, 3, 2}));
    PixelRun const second = planes.wholePlane(1);
    EXPECT_THAT(planes.tryRead(second),
                FailsWith(readStripFailed(0, second, _path) +
                          "The directory has planes of 4 x 3 pixels of 0 bits, the image has planes of "
                          "4 x 3 pixels of 8 bits"));
}

// Strips that outgrow the type of their sizes

TEST_F(TiffPlaneFitTest, StripsThatNoLongerFitTheirEntryAreWrittenWithAllStripsBehindThem) {
    std::string zeros; // 90000 of them in PackBits
    for (unsigned int run = 0; run < 750; ++run) {
        zeros += std::string("\x89\0", 2); // 120 zeros
    }
    RawDirectory directory = greyDirectory(300, 600).set(TIFFTAG_ROWSPERSTRIP, shorts({300}));
    directory.set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_PACKBITS}));
    directory.set(TIFFTAG_STRIPOFFSETS, longs({g_atPixels, g_atPixels}));
    directory.set(TIFFTAG_STRIPBYTECOUNTS, shorts({zeros.size(), zeros.size()}));
    directory.pixels = zeros;
    writeRawTiff(_path, {directory});
    std::string const pixels = noise(180000);
    {
        Planes const planes = openPlanesForWriting(_path);
        EXPECT_TRUE(planes.readPlane() == std::string(pixels.size(), '\0'));
        planes.writePlane(pixels);
        EXPECT_TRUE(planes.readPlane() == pixels);
    }
    EXPECT_TRUE(readDirectoryPixels(_path, 0) == pixels);
}

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

namespace {

constexpr vlUInt64 g_sizeX = 100;
constexpr vlUInt64 g_sizeY = 200;
constexpr vlUInt64 g_nbPixels = g_sizeX * g_sizeY;
constexpr vlUInt64 g_nbBytes = 2 * g_nbPixels;

/// How the pages of a file are stored.
struct Storage {
    char const* name;
    std::uint16_t compression;
    char const* mode;
    std::uint32_t rowsPerStrip;
    friend void PrintTo(Storage const& storage, std::ostream* pStream) { *pStream << storage.name; }
};

Storage const g_storages[] = {{"LzwInOneStrip", COMPRESSION_LZW, "wl", 200},
                              {"LzwInFiveStrips", COMPRESSION_LZW, "wl", 40},
                              {"LzwInAStripForEachRow", COMPRESSION_LZW, "wl", 1},
                              {"LzwOfBigEndianNumbers", COMPRESSION_LZW, "wb", 40},
                              {"DeflateInOneStrip", COMPRESSION_ADOBE_DEFLATE, "wl", 200},
                              {"DeflateInFiveStrips", COMPRESSION_ADOBE_DEFLATE, "wl", 40},
                              {"DeflateInAStripForEachRow", COMPRESSION_ADOBE_DEFLATE, "wl", 1},
                              {"DeflateInABigTiff", COMPRESSION_ADOBE_DEFLATE, "wl8", 40}};

/// Files of three pages that pack well; the one in the middle shall have pixels that do not pack at all.
class TiffFullDiskStripsTest : public TiffTest, public testing::WithParamInterface<Storage> {
  protected:
    void SetUp() override {
        Directory page =
            stripDirectory(g_sizeX, g_sizeY, GetParam().rowsPerStrip, GetParam().compression, 1, 16);
        for (char const pixel : {'a', 'b', 'c'}) {
            page.pixels.assign(g_nbBytes, pixel);
            _pages.push_back(page);
        }
        writeTiff(_path, _pages, GetParam().mode);
        _bytes = readFile(_path);
    }

    vlUInt64 getStripPixels() const { return g_sizeX * GetParam().rowsPerStrip; }

    /// Writes into the second page of a file that can have `nbMore` bytes more, and closes it.
    std::string writeWith(vlUInt64 nbMore, PixelRun const& run) const {
        return withLimit(RLIMIT_FSIZE, _bytes.size() + nbMore, [&]() -> std::string {
            TiffImageFile file;
            BoolResult const opened = openFile(file, _path, {eIAM_ReadWrite});
            if (!opened) {
                return "not open";
            }
            std::string const outcome =
                toText(file.writeRawData(1, 0, 0, run.start, run.count, _new.data() + 2 * run.start));
            file.clear();
            return outcome;
        });
    }

    void expectAllOld() const {
        EXPECT_NO_THROW(loadTiffImageFile(_path, eTBM_Default));
        Planes const planes = openPlanes(_path);
        for (vlUInt64 z = 0; z < _pages.size(); ++z) {
            EXPECT_TRUE(planes.readPlane(z) == _pages[z].pixels) << "page " << z;
        }
    }

    /// How many strips of the second page have their new pixels; all others must have their old ones, and
    /// the other pages as well.
    vlUInt64 countNewStrips() const {
        EXPECT_NO_THROW(loadTiffImageFile(_path, eTBM_Default));
        Planes const planes = openPlanes(_path);
        EXPECT_TRUE(planes.readPlane(0) == _pages[0].pixels && planes.readPlane(2) == _pages[2].pixels);
        std::string const pixels = planes.readPlane(1);
        vlUInt64 const stripBytes = 2 * getStripPixels();
        vlUInt64 nbNew = 0;
        for (vlUInt64 begin = 0; begin < g_nbBytes; begin += stripBytes) {
            bool const bNew = pixels.compare(begin, stripBytes, _new, begin, stripBytes) == 0;
            EXPECT_TRUE(bNew || pixels.compare(begin, stripBytes, std::string(stripBytes, 'b')) == 0)
                << "strip " << begin / stripBytes << " is lost";
            nbNew += bNew ? 1 : 0;
        }
        return nbNew;
    }

    static auto isFailureToWrite() {
        return testing::AnyOf(testing::StartsWith("Failed to write data of strip "),
                              testing::StartsWith("Error while flushing tiff data for file "));
    }

    std::string const _new = noise(g_nbBytes);
    std::vector<Directory> _pages;
    std::string _bytes;
};

} // namespace

TEST_P(TiffFullDiskStripsTest, AStripThatFindsNoSpaceKeepsItsOldPixels) {
    vlUInt64 const nbRows = std::min<vlUInt64>(GetParam().rowsPerStrip, 50);
    PixelRun const runs[] = {{1, 0, 0, 0, getStripPixels()},
                             {1, 0, 0, 3, g_sizeX * nbRows - 5},
                             {1, 0, 0, g_nbPixels - g_sizeX * nbRows, g_sizeX * nbRows}};
    for (PixelRun const& run : runs) {
        for (vlUInt64 const nbMore : {0U, 10U, 100U}) {
            SCOPED_TRACE(std::to_string(run.start) + "+" + std::to_string(run.count));
            writeFile(_path, _bytes);
            EXPECT_THAT(writeWith(nbMore, run), isFailureToWrite());
            expectAllOld();
        }
    }
}

TEST_P(TiffFullDiskStripsTest, AFailureInTheMiddleOfAPlaneLosesNoStrip) {
    vlUInt64 const nbStrips = g_sizeY / GetParam().rowsPerStrip;
    vlUInt64 nbFailures = 0;
    bool bInTheMiddle = nbStrips == 1;
    for (vlUInt64 share = 0; share <= 18; ++share) {
        writeFile(_path, _bytes);
        std::string const text = writeWith(share * g_nbBytes / 10, {1, 0, 0, 0, g_nbPixels});
        SCOPED_TRACE(std::to_string(share) + " tenths of the space: " + text);
        vlUInt64 const nbNew = countNewStrips();
        if (text == "success") {
            EXPECT_EQ(nbNew, nbStrips);
            continue;
        }
        EXPECT_THAT(text, isFailureToWrite());
        EXPECT_LT(nbNew, nbStrips);
        ++nbFailures;
        bInTheMiddle = bInTheMiddle || nbNew != 0;
    }
    EXPECT_GE(nbFailures, 10U);
    EXPECT_LT(nbFailures, 19U);
    EXPECT_TRUE(bInTheMiddle);
}

INSTANTIATE_TEST_SUITE_P(Storages, TiffFullDiskStripsTest, testing::ValuesIn(g_storages),
                         testing::PrintToStringParamName());

} // namespace velmo::image::file
