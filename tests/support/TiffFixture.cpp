// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

#include <algorithm>
#include <memory>

namespace velmo::image::file {

namespace {

using Handle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

bool setTag(TIFF* pTiff, std::uint32_t tag, TagValue const& value) {
    if (auto const* pText = std::get_if<std::string>(&value)) {
        return tag == TIFFTAG_PHOTOSHOP
                   ? TIFFSetField(pTiff, tag, static_cast<std::uint32_t>(pText->size()), pText->data()) == 1
                   : TIFFSetField(pTiff, tag, pText->c_str()) == 1;
    }
    if (auto const* pReal = std::get_if<float>(&value)) {
        return TIFFSetField(pTiff, tag, static_cast<double>(*pReal)) == 1;
    }
    if (auto const* pLong = std::get_if<std::uint32_t>(&value)) {
        return TIFFSetField(pTiff, tag, *pLong) == 1;
    }
    return TIFFSetField(pTiff, tag, static_cast<int>(std::get<std::uint16_t>(value))) == 1;
}

void setTags(TIFF* pTiff, Directory const& directory) {
    std::map<std::uint32_t, TagValue> const own = {
        {TIFFTAG_IMAGEWIDTH, directory.sizeX},
        {TIFFTAG_IMAGELENGTH, directory.sizeY},
        {TIFFTAG_BITSPERSAMPLE, directory.bits},
        {TIFFTAG_COMPRESSION, directory.compression},
        {TIFFTAG_PHOTOMETRIC, directory.photometric},
        {TIFFTAG_SAMPLESPERPIXEL, directory.samples},
        {TIFFTAG_ROWSPERSTRIP, directory.rowsPerStrip == 0 ? directory.sizeY : directory.rowsPerStrip},
        {TIFFTAG_PLANARCONFIG, directory.planarConfig}};
    for (auto const& [tag, value] : own) {
        EXPECT_TRUE(setTag(pTiff, tag, value)) << "tag " << tag;
    }
    for (auto const& [tag, value] : directory.tags) {
        EXPECT_TRUE(setTag(pTiff, tag, value)) << "tag " << tag;
    }
}

/// Every strip at its true size, the last one of a plane as well.
void writeStrips(TIFF* pTiff, Directory const& directory) {
    std::string pixels = directory.pixels;
    pixels.resize(directory.countBytes(), '\0');
    std::uint32_t const nbPlanes = directory.planarConfig == PLANARCONFIG_SEPARATE ? directory.samples : 1;
    std::uint32_t const perStrip = directory.rowsPerStrip == 0 ? directory.sizeY : directory.rowsPerStrip;
    std::uint32_t strip = 0;
    std::size_t begin = 0;
    for (std::uint32_t plane = 0; plane < nbPlanes; ++plane) {
        for (std::uint32_t row = 0; row < directory.sizeY; row += perStrip, ++strip) {
            tmsize_t const size = TIFFVStripSize(pTiff, std::min(perStrip, directory.sizeY - row));
            std::string bytes =
                pixels.substr(begin, static_cast<std::size_t>(size)); // libtiff may change them
            EXPECT_EQ(TIFFWriteEncodedStrip(pTiff, strip, bytes.data(), size), size);
            begin += bytes.size();
        }
    }
}

} // namespace

std::size_t Directory::countBytes() const {
    bool const bSeparate = planarConfig == PLANARCONFIG_SEPARATE;
    std::size_t const bitsOfRow = std::size_t(sizeX) * bits * (bSeparate ? 1U : samples);
    return (bitsOfRow + 7) / 8 * sizeY * (bSeparate ? samples : 1U);
}

Directory stripDirectory(std::uint32_t sizeX, std::uint32_t sizeY, std::uint32_t rowsPerStrip,
                         std::uint16_t compression, std::uint16_t samples, std::uint16_t bits) {
    Directory directory;
    directory.sizeX = sizeX;
    directory.sizeY = sizeY;
    directory.rowsPerStrip = rowsPerStrip;
    directory.compression = compression;
    directory.samples = samples;
    directory.photometric = samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    directory.bits = bits;
    return directory;
}

void writeTiff(path const& path, std::vector<Directory> const& directories, std::string const& mode) {
    Handle const pTiff(TIFFOpen(path.c_str(), mode.c_str()), &TIFFClose);
    ASSERT_TRUE(pTiff) << path;
    for (Directory const& directory : directories) {
        setTags(pTiff.get(), directory);
        writeStrips(pTiff.get(), directory);
        EXPECT_EQ(TIFFWriteDirectory(pTiff.get()), 1);
    }
}

std::string readDirectoryPixels(path const& path, std::uint16_t directory) {
    Handle const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
    if (!pTiff || TIFFSetDirectory(pTiff.get(), directory) != 1) {
        ADD_FAILURE() << "no directory " << directory << " in " << path;
        return {};
    }
    std::string pixels;
    for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(pTiff.get()); ++strip) {
        std::string bytes(static_cast<std::size_t>(TIFFStripSize(pTiff.get())), '\0');
        tmsize_t const got = TIFFReadEncodedStrip(pTiff.get(), strip, bytes.data(), -1);
        EXPECT_GE(got, 0) << "strip " << strip << " of directory " << directory;
        pixels.append(bytes, 0, static_cast<std::size_t>(std::max<tmsize_t>(got, 0)));
    }
    return pixels;
}

OpenedTiff::OpenedTiff(path const& path, OpenRequest const& request)
    : result(openTiffFile(path, request.access, request.directoryMode, request.bufferMode, pTiff, pGeometry,
                          pCalibration, &userProperties)) {}

OpenedTiff::~OpenedTiff() {
    if (pTiff != nullptr) {
        TIFFClose(pTiff);
    }
}

} // namespace velmo::image::file
