// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffSample.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <memory>

namespace velmo::test {

namespace {

struct TiffCloser {
    void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

void setTags(TIFF* pTiff, TiffPage const& page) {
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, page.sizeX);
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, page.sizeY);
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, page.bits);
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, page.samples);
    TIFFSetField(pTiff, TIFFTAG_SAMPLEFORMAT, page.sampleFormat);
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, page.photometric);
    TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(pTiff, TIFFTAG_COMPRESSION, page.compression);
    TIFFSetField(pTiff, TIFFTAG_ORIENTATION, page.orientation);
    if (page.samples == 4) {
        std::uint16_t const alpha = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(pTiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    if (page.resolution != 0) {
        TIFFSetField(pTiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(pTiff, TIFFTAG_XRESOLUTION, page.resolution);
        TIFFSetField(pTiff, TIFFTAG_YRESOLUTION, 2 * page.resolution);
    }
    if (!page.description.empty()) {
        TIFFSetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, page.description.c_str());
    }
}

void writeStrips(TIFF* pTiff, TiffPage const& page, std::string pixels) {
    TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, page.rowsPerStrip == 0 ? page.sizeY : page.rowsPerStrip);
    for (std::uint32_t row = 0; row < page.sizeY; ++row) {
        ASSERT_EQ(1, TIFFWriteScanline(pTiff, &pixels[row * page.countRowBytes()], row, 0));
    }
}

/// The part of a page that a tile holds, row by row. What is outside of the page is 'x'.
std::string cutTile(TiffPage const& page, std::uint32_t index) {
    std::uint32_t const nbAcross = (page.sizeX + page.tileSize - 1) / page.tileSize;
    std::uint32_t const x = index % nbAcross * page.tileSize;
    std::uint32_t const y = index / nbAcross * page.tileSize;
    std::size_t const pixelSize = std::size_t{page.samples} * page.bits / 8;
    std::size_t const nbBytes = std::min(page.tileSize, page.sizeX - x) * pixelSize;
    std::string tile(page.tileSize * page.tileSize * pixelSize, 'x');
    for (std::uint32_t row = 0; row < std::min(page.tileSize, page.sizeY - y); ++row) {
        std::size_t const start = (std::size_t{y} + row) * page.countRowBytes() + x * pixelSize;
        tile.replace(row * page.tileSize * pixelSize, nbBytes, page.pixels, start, nbBytes);
    }
    return tile;
}

/// Tiles of the pixels; without pixels, tiles of one value, which are not to be read.
void writeTiles(TIFF* pTiff, TiffPage const& page) {
    TIFFSetField(pTiff, TIFFTAG_TILEWIDTH, page.tileSize);
    TIFFSetField(pTiff, TIFFTAG_TILELENGTH, page.tileSize);
    bool const bPixels = page.pixels.size() == page.countBytes() && page.bits % 8 == 0;
    for (std::uint32_t index = 0; index < TIFFNumberOfTiles(pTiff); ++index) {
        std::string tile =
            bPixels ? cutTile(page, index) : std::string(static_cast<std::size_t>(TIFFTileSize(pTiff)), 'x');
        ASSERT_NE(-1, TIFFWriteEncodedTile(pTiff, index, tile.data(), -1));
    }
}

TiffPage readPage(TIFF* pTiff) {
    TiffPage page;
    char const* pDescription = nullptr;
    TIFFGetField(pTiff, TIFFTAG_IMAGEWIDTH, &page.sizeX);
    TIFFGetField(pTiff, TIFFTAG_IMAGELENGTH, &page.sizeY);
    TIFFGetField(pTiff, TIFFTAG_BITSPERSAMPLE, &page.bits);
    TIFFGetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, &page.samples);
    TIFFGetField(pTiff, TIFFTAG_SAMPLEFORMAT, &page.sampleFormat);
    TIFFGetField(pTiff, TIFFTAG_PHOTOMETRIC, &page.photometric);
    TIFFGetField(pTiff, TIFFTAG_COMPRESSION, &page.compression);
    TIFFGetField(pTiff, TIFFTAG_ROWSPERSTRIP, &page.rowsPerStrip);
    if (TIFFGetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, &pDescription) == 1) {
        page.description = pDescription;
    }
    page.pixels.resize(page.countBytes());
    for (std::uint32_t row = 0; row < page.sizeY; ++row) {
        EXPECT_EQ(1, TIFFReadScanline(pTiff, &page.pixels[row * page.countRowBytes()], row, 0));
    }
    return page;
}

void putNumbers(std::string& bytes, std::vector<std::uint32_t> const& numbers) {
    for (std::uint32_t const number : numbers) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(number >> shift & 0xFFU);
        }
    }
}

} // namespace

void writeTiff(boost::filesystem::path const& path, std::vector<TiffPage> const& pages,
               std::string const& mode) {
    TiffHandle const pTiff(TIFFOpen(path.c_str(), mode.c_str()));
    ASSERT_TRUE(pTiff);
    for (TiffPage const& page : pages) {
        setTags(pTiff.get(), page);
        if (page.tileSize != 0) {
            writeTiles(pTiff.get(), page);
        } else {
            std::string pixels = page.pixels;
            pixels.resize(std::max(pixels.size(), page.countBytes()));
            writeStrips(pTiff.get(), page, pixels);
        }
        ASSERT_EQ(1, TIFFWriteDirectory(pTiff.get()));
    }
}

void writeImageJStack(boost::filesystem::path const& path, unsigned int nbPlanes, TiffPage const& page,
                      std::string const& mode) {
    TiffHandle const pTiff(TIFFOpen(path.c_str(), mode.c_str()));
    ASSERT_TRUE(pTiff);
    setTags(pTiff.get(), page);
    std::string const description = "ImageJ=1.53t\nimages=" + std::to_string(nbPlanes) + "\nslices=7\n";
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGEDESCRIPTION, description.c_str());
    TIFFSetField(pTiff.get(), TIFFTAG_ROWSPERSTRIP, page.sizeY);
    std::string pixels = page.pixels;
    auto const nbBytes = static_cast<tmsize_t>(pixels.size());
    ASSERT_EQ(nbBytes, TIFFWriteRawStrip(pTiff.get(), 0, pixels.data(), nbBytes));
}

std::ostream& operator<<(std::ostream& os, PageResolution const& resolution) {
    return os << resolution.x << " x " << resolution.y << " in unit " << resolution.unit;
}

std::vector<PageResolution> readResolutions(boost::filesystem::path const& path) {
    std::vector<PageResolution> resolutions;
    TiffHandle const pTiff(TIFFOpen(path.c_str(), "r"));
    EXPECT_TRUE(pTiff) << path;
    for (bool bMore = pTiff != nullptr; bMore; bMore = TIFFReadDirectory(pTiff.get()) == 1) {
        PageResolution& resolution = resolutions.emplace_back();
        TIFFGetField(pTiff.get(), TIFFTAG_XRESOLUTION, &resolution.x);
        TIFFGetField(pTiff.get(), TIFFTAG_YRESOLUTION, &resolution.y);
        TIFFGetField(pTiff.get(), TIFFTAG_RESOLUTIONUNIT, &resolution.unit);
    }
    return resolutions;
}

std::vector<TiffPage> readTiff(boost::filesystem::path const& path) {
    std::vector<TiffPage> pages;
    TiffHandle const pTiff(TIFFOpen(path.c_str(), "r"));
    EXPECT_TRUE(pTiff) << path;
    while (pTiff) {
        pages.push_back(readPage(pTiff.get()));
        if (TIFFReadDirectory(pTiff.get()) != 1) {
            break;
        }
    }
    return pages;
}

std::string makeSharedStripTiff(std::uint32_t nbPlanes) {
    constexpr std::uint32_t side = 8192;
    constexpr std::uint32_t nbStrips = 64;
    constexpr std::uint32_t stripBytes = side * side / nbStrips;
    constexpr std::uint32_t header = 8;
    constexpr std::uint32_t placeOfOffsets = header;
    constexpr std::uint32_t placeOfCounts = placeOfOffsets + 4 * nbStrips;
    constexpr std::uint32_t placeOfPixels = placeOfCounts + 4 * nbStrips;
    constexpr std::uint32_t firstDirectory = placeOfPixels + stripBytes;
    constexpr std::uint32_t shortType = 3;
    constexpr std::uint32_t longType = 4;
    std::vector<std::array<std::uint32_t, 4>> const fields = {
        {TIFFTAG_IMAGEWIDTH, longType, 1, side},
        {TIFFTAG_IMAGELENGTH, longType, 1, side},
        {TIFFTAG_BITSPERSAMPLE, shortType, 1, 8},
        {TIFFTAG_COMPRESSION, shortType, 1, COMPRESSION_NONE},
        {TIFFTAG_PHOTOMETRIC, shortType, 1, PHOTOMETRIC_MINISBLACK},
        {TIFFTAG_STRIPOFFSETS, longType, nbStrips, placeOfOffsets},
        {TIFFTAG_SAMPLESPERPIXEL, shortType, 1, 1},
        {TIFFTAG_ROWSPERSTRIP, longType, 1, side / nbStrips},
        {TIFFTAG_STRIPBYTECOUNTS, longType, nbStrips, placeOfCounts}};
    auto const directoryBytes = static_cast<std::uint32_t>(2 + 12 * fields.size() + 4);

    std::string bytes("II*\0", 4);
    putNumbers(bytes, {firstDirectory});
    putNumbers(bytes, std::vector<std::uint32_t>(nbStrips, placeOfPixels));
    putNumbers(bytes, std::vector<std::uint32_t>(nbStrips, stripBytes));
    bytes.append(stripBytes, '\0');
    for (std::uint32_t plane = 1; plane <= nbPlanes; ++plane) {
        bytes += static_cast<char>(fields.size());
        bytes += '\0';
        for (auto const& [tag, type, count, value] : fields) {
            putNumbers(bytes, {tag | type << 16, count, value});
        }
        putNumbers(bytes, {plane == nbPlanes ? 0 : firstDirectory + plane * directoryBytes});
    }
    return bytes;
}

} // namespace velmo::test
