// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffLowerBound.h"

#include "LowerBound.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <tiffio.h>
#include <vector>

namespace velmo::bench {

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

struct Entry {
    vlUInt64 tag;
    vlUInt64 type;
    vlUInt64 count;
    vlUInt64 value;
};

struct LittleEndian {
    LittleEndian& add16(vlUInt64 number) { return add(number, 2); }
    LittleEndian& add32(vlUInt64 number) { return add(number, 4); }
    LittleEndian& add(vlUInt64 number, int nbBytes) {
        for (int i = 0; i < nbBytes; ++i) {
            bytes += static_cast<char>(number >> (8 * i) & 0xFF);
        }
        return *this;
    }
    std::string bytes;
};

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
    constexpr vlUInt64 dataOffset = 512;
    constexpr std::uint16_t asShort = 3;
    constexpr std::uint16_t asLong = 4;
    constexpr std::uint16_t asText = 2;
    std::string const description = "ImageJ=1.53\nimages=" + std::to_string(planes.nbPlanes) + '\n';
    LittleEndian head;
    head.add16(0x4949).add16(42).add32(8); // byte order, version, offset of the only directory
    std::vector<Entry> const entries = {
        {TIFFTAG_IMAGEWIDTH, asLong, 1, planes.sizeX},
        {TIFFTAG_IMAGELENGTH, asLong, 1, planes.sizeY},
        {TIFFTAG_BITSPERSAMPLE, asShort, 1, 16},
        {TIFFTAG_COMPRESSION, asShort, 1, COMPRESSION_NONE},
        {TIFFTAG_PHOTOMETRIC, asShort, 1, PHOTOMETRIC_MINISBLACK},
        {TIFFTAG_IMAGEDESCRIPTION, asText, description.size() + 1, dataOffset / 2},
        {TIFFTAG_STRIPOFFSETS, asLong, 1, dataOffset},
        {TIFFTAG_SAMPLESPERPIXEL, asShort, 1, 1},
        {TIFFTAG_ROWSPERSTRIP, asLong, 1, planes.sizeY},
        {TIFFTAG_STRIPBYTECOUNTS, asLong, 1, planes.getPlaneBytes()},
    };
    head.add16(entries.size());
    for (Entry const& entry : entries) {
        head.add16(entry.tag).add16(entry.type).add32(entry.count).add32(entry.value);
    }
    head.add32(0); // no further directory
    head.bytes.resize(dataOffset / 2);
    head.bytes += description;
    head.bytes.resize(dataOffset);
    Descriptor const descriptor = Descriptor::create(path);
    descriptor.write(head.bytes.data(), dataOffset, 0);
    descriptor.write(planes.pPixels, planes.nbPlanes * planes.getPlaneBytes(), dataOffset);
}

vlUInt64 readByLibtiff(std::string const& path, std::byte* pPixels, vlUInt64 nbBytes) {
    Handle const handle = open(path, "r");
    vlUInt64 offset = 0;
    do {
        std::uint32_t const nbStrips = TIFFNumberOfStrips(handle.get());
        for (std::uint32_t strip = 0; strip < nbStrips; ++strip) {
            tmsize_t const size = TIFFReadEncodedStrip(handle.get(), strip, pPixels + offset,
                                                       static_cast<tmsize_t>(nbBytes - offset));
            if (size < 0) {
                throw std::runtime_error("libtiff cannot read a strip");
            }
            offset += static_cast<vlUInt64>(size);
        }
    } while (TIFFReadDirectory(handle.get()) == 1);
    return offset;
}

double timeLibtiffLoad(std::string const& path, vlUInt64 nbBytes) {
    Stopwatch const stopwatch;
    std::unique_ptr<std::byte[]> const pixels(new std::byte[nbBytes]);
    requireBytes(static_cast<tmsize_t>(readByLibtiff(path, pixels.get(), nbBytes)), nbBytes);
    return stopwatch.getSeconds();
}

} // namespace velmo::bench
