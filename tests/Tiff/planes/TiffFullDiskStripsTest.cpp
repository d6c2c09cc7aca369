// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::image::file {

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
        return withFileSizeLimit(_bytes.size() + nbMore, [&]() -> std::string {
            OpenRequest request;
            request.access = eIAM_ReadWrite;
            TiffImageFile file;
            BoolResult const opened = openFile(file, _path, request);
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
