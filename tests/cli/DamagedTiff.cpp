// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedTiff.h"

#include "TemporaryFolder.h"
#include "TiffSample.h"

#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <map>

namespace velmo::test {

namespace fs = boost::filesystem;

namespace {

constexpr std::uint32_t g_width = 30;
constexpr std::uint32_t g_height = 20;

TiffPage createPage() {
    TiffPage page;
    page.sizeX = g_width;
    page.sizeY = g_height;
    return page;
}

template <class Number>
void append(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<char const*>(&number), sizeof(number));
}

/// The bytes of little-endian directories and of the pixels behind them.
class PixelsLast {
  public:
    PixelsLast(unsigned int nbPages, unsigned int nbChannels)
        : _nbPages(nbPages), _nbChannels(nbChannels), _pageSize(g_width * g_height * nbChannels) {}

    /// Leaves an entry of the last directory out.
    void leaveOut(int tag) { _leftOut = tag; }

    std::string create() const {
        std::string bytes("II\x2a\0", 4);
        append<std::uint32_t>(bytes, g_firstDirectory);
        for (unsigned int channel = 0; channel < g_maxChannels; ++channel) {
            append<std::uint16_t>(bytes, 8); // bits of each sample
        }
        for (unsigned int page = 0; page < _nbPages; ++page) {
            appendDirectory(bytes, page);
        }
        for (unsigned int page = 0; page < _nbPages; ++page) {
            bytes += std::string(_pageSize, static_cast<char>('a' + page));
        }
        return bytes;
    }

  private:
    static constexpr unsigned int g_maxChannels = 4;
    static constexpr std::uint32_t g_bits = 8;
    static constexpr std::uint32_t g_firstDirectory = g_bits + 2 * g_maxChannels;
    static constexpr std::uint16_t g_nbEntries = 9;
    static constexpr std::uint32_t g_directorySize = 2 + 12 * g_nbEntries + 4;

    static std::string createEntry(int tag, std::uint32_t value, std::uint32_t count = 1) {
        std::string entry;
        append(entry, static_cast<std::uint16_t>(tag));
        append<std::uint16_t>(entry, count == 1 ? TIFF_LONG : TIFF_SHORT);
        append(entry, count);
        append(entry, value);
        return entry;
    }

    std::map<int, std::string> createEntries(unsigned int page) const {
        std::uint32_t const pixels = g_firstDirectory + _nbPages * g_directorySize + page * _pageSize;
        bool const bGrey = _nbChannels == 1;
        std::map<int, std::string> entries;
        for (auto const& [tag, value] : std::initializer_list<std::pair<int, std::uint32_t>>{
                 {TIFFTAG_IMAGEWIDTH, g_width},
                 {TIFFTAG_IMAGELENGTH, g_height},
                 {TIFFTAG_COMPRESSION, COMPRESSION_NONE},
                 {TIFFTAG_PHOTOMETRIC, bGrey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB},
                 {TIFFTAG_STRIPOFFSETS, pixels},
                 {TIFFTAG_SAMPLESPERPIXEL, _nbChannels},
                 {TIFFTAG_STRIPBYTECOUNTS, _pageSize},
                 {TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG}}) {
            entries[tag] = createEntry(tag, value);
        }
        entries[TIFFTAG_BITSPERSAMPLE] = createEntry(TIFFTAG_BITSPERSAMPLE, bGrey ? 8 : g_bits, _nbChannels);
        return entries;
    }

    void appendDirectory(std::string& bytes, unsigned int page) const {
        bool const bLast = page + 1 == _nbPages;
        std::map<int, std::string> entries = createEntries(page);
        if (bLast) {
            entries.erase(_leftOut);
        }
        std::size_t const end = bytes.size() + g_directorySize;
        append(bytes, static_cast<std::uint16_t>(entries.size()));
        for (auto const& [tag, entry] : entries) {
            bytes += entry;
        }
        append<std::uint32_t>(bytes, bLast ? 0 : static_cast<std::uint32_t>(end));
        bytes.resize(end);
    }

    unsigned int _nbPages;
    unsigned int _nbChannels;
    std::uint32_t _pageSize;
    int _leftOut = 0;
};

} // namespace

void writePixelsLast(fs::path const& path, unsigned int nbPages, unsigned int nbChannels) {
    writeFile(path, PixelsLast(nbPages, nbChannels).create());
}

void writeCutPixels(fs::path const& path, unsigned int nbChannels) {
    writePixelsLast(path, 2, nbChannels);
    fs::resize_file(path, fs::file_size(path) - g_width * g_height * nbChannels / 2);
}

void writeBrokenChain(fs::path const& path) {
    writeTiff(path, {createPage(), createPage()});
    std::string bytes = readFile(path);
    for (std::string const& tag : {std::string("\x00\x01", 2), std::string("\x01\x01", 2)}) {
        std::size_t const entry = bytes.rfind(tag + std::string("\x03\x00\x01\x00", 4));
        ASSERT_NE(std::string::npos, entry);
        bytes.replace(entry, 2, "\x01\xfe");
    }
    writeFile(path, bytes);
}

void writeCutChain(fs::path const& path) {
    writeTiff(path, {createPage(), createPage(), createPage()});
    fs::resize_file(path, fs::file_size(path) - 20);
}

void writeChainInACircle(fs::path const& path) {
    writeTiff(path, {createPage()});
    std::size_t const nextOfFirst = readFile(path).rfind(std::string(4, '\0'));
    writeTiff(path, {createPage(), createPage()});
    std::string bytes = readFile(path);
    std::size_t const nextOfLast = bytes.rfind(std::string(4, '\0'));
    ASSERT_LT(nextOfFirst, nextOfLast);
    bytes.replace(nextOfLast, 4, bytes.substr(4, 4));
    writeFile(path, bytes);
}

void writeShortStack(fs::path const& path) {
    TiffPage page = createPage();
    page.pixels.assign(3 * page.countBytes(), 'x');
    writeImageJStack(path, 5, page);
}

void writeWithoutSamples(fs::path const& path) {
    PixelsLast file(2, 1);
    file.leaveOut(TIFFTAG_SAMPLESPERPIXEL);
    writeFile(path, file.create());
}

void writeCompressedStack(fs::path const& path) {
    TiffPage page = createPage();
    page.description = "ImageJ=1.53t\nslices=2\n";
    page.compression = COMPRESSION_LZW;
    writeTiff(path, {page});
}

} // namespace velmo::test
