// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedColors.h"

#include "ImageBytes.h"
#include "TiffFixture.h"

#include <memory>

namespace velmo::test {

using namespace image::file;

namespace {

std::uint64_t getNumber(std::string const& bytes, std::size_t offset, std::size_t width) {
    std::uint64_t number = 0;
    for (std::size_t index = width; index-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(bytes.at(offset + index));
    }
    return number;
}

/// Where the byte count of a strip stands in a classic little-endian file, and its width.
std::pair<std::size_t, std::size_t> findByteCount(std::string const& bytes, std::size_t directory,
                                                  std::size_t strip) {
    constexpr std::size_t entrySize = 12;
    std::size_t entry = directory + 2;
    while (getNumber(bytes, entry, 2) != TIFFTAG_STRIPBYTECOUNTS) {
        entry += entrySize;
    }
    std::size_t const width = getNumber(bytes, entry + 2, 2) == TIFF_SHORT ? 2 : 4;
    bool const bInside = width * getNumber(bytes, entry + 4, 4) <= 4;
    std::size_t const values = bInside ? entry + 8 : getNumber(bytes, entry + 8, 4);
    return {values + strip * width, width};
}

void damage(boost::filesystem::path const& path, ColorDamage::eKind kind) {
    std::uint64_t directory = 0;
    std::uint64_t strip = 0;
    {
        std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
        TIFFSetDirectory(pTiff.get(), DamagedColors::g_brokenPage);
        directory = TIFFCurrentDirOffset(pTiff.get());
        strip = TIFFGetStrileOffset(pTiff.get(), DamagedColors::g_brokenStrip);
    }
    std::string bytes = readFile(path);
    if (kind == ColorDamage::eUndecodable) {
        bytes.replace(strip, 100, 100, '\xFF');
    } else {
        auto const [place, width] = findByteCount(bytes, directory, DamagedColors::g_brokenStrip);
        bytes.replace(place, width, width, '\0');
        bytes[place] = kind == ColorDamage::eNoBytes ? '\0' : '\2'; // no more than a header
    }
    writeFile(path, bytes);
}

} // namespace

std::vector<ColorDamage> const& getColorDamages() {
    static std::vector<ColorDamage> const damages = {
        {"UndecodableBelow64KiB", ColorDamage::eUndecodable, 218},
        {"UndecodableAbove64KiB", ColorDamage::eUndecodable, 219},
        {"NoBytesBelow64KiB", ColorDamage::eNoBytes, 218},
        {"NoBytesAbove64KiB", ColorDamage::eNoBytes, 219},
        {"FewBytesBelow64KiB", ColorDamage::eFewBytes, 218},
        {"FewBytesAbove64KiB", ColorDamage::eFewBytes, 219},
    };
    return damages;
}

DamagedColors::DamagedColors(boost::filesystem::path const& path, ColorDamage const& colorDamage,
                             unsigned int seed)
    : _rowsPerStrip(colorDamage.rowsPerStrip) {
    std::vector<Directory> pages(g_nbPages);
    for (vlUInt64 page = 0; page < g_nbPages; ++page) {
        pages[page].sizeX = g_sizeX;
        pages[page].sizeY = static_cast<std::uint32_t>(getSizeY());
        pages[page].samples = 3;
        pages[page].photometric = PHOTOMETRIC_RGB;
        pages[page].compression = COMPRESSION_ADOBE_DEFLATE;
        pages[page].rowsPerStrip = _rowsPerStrip;
        pages[page].pixels = makeBytes(3 * getPlanNbPixels(), seed + static_cast<unsigned int>(page));
        for (std::size_t channel = 0; channel < 3; ++channel) {
            std::string plane(getPlanNbPixels(), '\0');
            for (std::size_t pixel = 0; pixel < plane.size(); ++pixel) {
                plane[pixel] = pages[page].pixels[3 * pixel + channel];
            }
            _planes.push_back(plane);
        }
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        _planes[g_brokenPage * 3 + channel].replace(getBrokenStart(), getNbBroken(), getNbBroken(), '\0');
    }
    writeTiff(path, pages);
    damage(path, colorDamage.kind);
}

std::string DamagedColors::getPixels() const {
    std::string pixels;
    for (vlUInt64 channel = 0; channel < 3; ++channel) {
        for (vlUInt64 page = 0; page < g_nbPages; ++page) {
            pixels += getPlan(page, channel);
        }
    }
    return pixels;
}

std::string readRun(image::BaseImage const& image, vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 start,
                    vlUInt64 nbPixels) {
    std::string pixels(nbPixels, '?');
    BoolResult const result = image.readPixels(z, c, t, start, nbPixels, pixels.data());
    return result ? pixels : result.getMessage();
}

} // namespace velmo::test
