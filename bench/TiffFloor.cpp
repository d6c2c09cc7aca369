// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFloor.h"

#include "Floor.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <tiffio.h>

namespace velmo {
namespace bench {

namespace {

using Handle = std::unique_ptr<TIFF, void (*)(TIFF*)>;

Handle open(std::string const& path, char const* mode) {
    Handle handle(TIFFOpen(path.c_str(), mode), TIFFClose);
    if (!handle) {
        throw std::runtime_error("libtiff cannot open " + path);
    }
    return handle;
}

void requireBytes(tmsize_t result, vlUInt64 nbBytes) {
    if (result != static_cast<tmsize_t>(nbBytes)) {
        throw std::runtime_error("libtiff moved less than a strip");
    }
}

void setTags(TIFF* pTiff, PlanesOf16Bits const& planes, int compression) {
    TIFFSetField(pTiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(planes.sizeX));
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(planes.sizeY));
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 16);
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(planes.nbSamples));
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC,
                 planes.nbSamples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(pTiff, TIFFTAG_COMPRESSION, compression);
}

void writeStrips(TIFF* pTiff, std::byte const* pPixels, vlUInt64 nbBytes, vlUInt64 stripBytes) {
    std::uint32_t strip = 0;
    for (vlUInt64 offset = 0; offset < nbBytes; offset += stripBytes, ++strip) {
        vlUInt64 const size = std::min(stripBytes, nbBytes - offset);
        requireBytes(TIFFWriteEncodedStrip(pTiff, strip, const_cast<std::byte*>(pPixels + offset),
                                           static_cast<tmsize_t>(size)),
                     size);
    }
}

} // namespace

void saveByLibtiff(std::string const& path, PlanesOf16Bits const& planes, int compression) {
    Handle const handle = open(path, "w");
    for (vlUInt64 plane = 0; plane < planes.nbPlanes; ++plane) {
        setTags(handle.get(), planes, compression);
        std::uint32_t const rows = TIFFDefaultStripSize(handle.get(), 0);
        TIFFSetField(handle.get(), TIFFTAG_ROWSPERSTRIP, rows);
        writeStrips(handle.get(), planes.pPixels + plane * planes.getPlaneBytes(), planes.getPlaneBytes(),
                    planes.sizeX * planes.nbSamples * 2 * rows);
        if (TIFFWriteDirectory(handle.get()) != 1) {
            throw std::runtime_error("libtiff cannot write a directory");
        }
    }
}

void saveAsImageJStack(std::string const& path, PlanesOf16Bits const& planes) {
    {
        Handle const handle = open(path, "w");
        setTags(handle.get(), planes, COMPRESSION_NONE);
        std::string const description = "ImageJ=1.53\nimages=" + std::to_string(planes.nbPlanes) + "\n";
        TIFFSetField(handle.get(), TIFFTAG_IMAGEDESCRIPTION, description.c_str());
        TIFFSetField(handle.get(), TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(planes.sizeY));
        TIFFWriteDirectory(handle.get()); // makes room for the directory, whose strip comes last
        TIFFSetDirectory(handle.get(), 0);
        writeStrips(handle.get(), planes.pPixels, planes.getPlaneBytes(), planes.getPlaneBytes());
    }
    vlUInt64 offset = 0;
    {
        Handle const handle = open(path, "r");
        offset = TIFFGetStrileOffset(handle.get(), 0);
    }
    Descriptor::openForWriting(path).write(planes.pPixels, planes.nbPlanes * planes.getPlaneBytes(), offset);
}

double timeLibtiffLoad(std::string const& path, vlUInt64 nbBytes) {
    Stopwatch const stopwatch;
    std::unique_ptr<std::byte[]> const pixels(new std::byte[nbBytes]);
    Handle const handle = open(path, "r");
    vlUInt64 offset = 0;
    do {
        std::uint32_t const nbStrips = TIFFNumberOfStrips(handle.get());
        for (std::uint32_t strip = 0; strip < nbStrips; ++strip) {
            tmsize_t const size = TIFFReadEncodedStrip(handle.get(), strip, pixels.get() + offset,
                                                       static_cast<tmsize_t>(nbBytes - offset));
            if (size < 0) {
                throw std::runtime_error("libtiff cannot read a strip");
            }
            offset += static_cast<vlUInt64>(size);
        }
    } while (TIFFReadDirectory(handle.get()) == 1);
    requireBytes(static_cast<tmsize_t>(offset), nbBytes);
    return stopwatch.getSeconds();
}

} // namespace bench
} // namespace velmo
