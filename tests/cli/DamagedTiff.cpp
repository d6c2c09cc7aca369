// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedTiff.h"

#include "TiffFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image::file;

namespace {

constexpr unsigned int g_width = 30;
constexpr unsigned int g_height = 20;
constexpr unsigned int g_planeSize = g_width * g_height;

using Directories = std::vector<RawDirectory>;

RawDirectory makeDamagedPage(unsigned int nbChannels = 1) {
    RawDirectory directory = greyDirectory(g_width, g_height);
    if (nbChannels != 1) {
        directory.set(TIFFTAG_BITSPERSAMPLE, shorts(std::vector<std::uint64_t>(nbChannels, 8)));
        directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_RGB}));
        directory.set(TIFFTAG_SAMPLESPERPIXEL, shorts({nbChannels}));
        directory.set(TIFFTAG_STRIPBYTECOUNTS, longs({g_planeSize * nbChannels}));
    }
    return directory.set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_CONTIG}));
}

RawDirectory makeStack(char const* announcement) {
    return makeDamagedPage().set(TIFFTAG_IMAGEDESCRIPTION,
                                 ascii(std::string("ImageJ=1.53t\n") + announcement + '\n'));
}

} // namespace

void writePixelsLast(fs::path const& path, unsigned int nbPages, unsigned int nbChannels) {
    Directories pages(nbPages, makeDamagedPage(nbChannels));
    std::string pixels;
    for (unsigned int page = 0; page < nbPages; ++page) {
        pixels += std::string(g_planeSize * nbChannels, static_cast<char>('a' + page));
        pages[page].pixels.clear();
    }
    std::uint64_t place = rawTiff(pages).size();
    for (RawDirectory& page : pages) {
        page.set(TIFFTAG_STRIPOFFSETS, longs({place}));
        place += g_planeSize * nbChannels;
    }
    pages.back().pixels = pixels;
    writeRawTiff(path, pages);
}

void writeCutPixels(fs::path const& path, unsigned int nbChannels) {
    writePixelsLast(path, 2, nbChannels);
    fs::resize_file(path, fs::file_size(path) - g_planeSize * nbChannels / 2);
}

void writeBrokenChain(fs::path const& path) {
    writeRawTiff(path, {makeDamagedPage(),
                        makeDamagedPage().without(TIFFTAG_IMAGEWIDTH).without(TIFFTAG_IMAGELENGTH)});
}

void writeCutChain(fs::path const& path) {
    Directories const pages(3, makeDamagedPage());
    writeRawTiff(path, pages);
    fs::resize_file(path, findDirectories(pages).back() + 20);
}

void writeChainInACircle(fs::path const& path) {
    Directories pages(2, makeDamagedPage());
    pages.back().next = findDirectories(pages).front();
    writeRawTiff(path, pages);
}

void writeShortStack(fs::path const& path) {
    RawDirectory stack = makeStack("images=5");
    stack.pixels.assign(3 * g_planeSize, 'x');
    writeRawTiff(path, {stack});
}

void writeWithoutSamples(fs::path const& path) {
    writeRawTiff(path, {makeDamagedPage(), makeDamagedPage().without(TIFFTAG_SAMPLESPERPIXEL)});
}

void writeCompressedStack(fs::path const& path) {
    writeRawTiff(path, {makeStack("slices=2").set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_LZW}))});
}

} // namespace velmo::test
