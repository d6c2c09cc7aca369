// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffLowerBound.h"

#include "LowerBound.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <thread>
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

void setTags(TIFF* pTiff, TiffLayout const& layout, int compression) {
    TIFFSetField(pTiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(layout.sizeX));
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(layout.sizeY));
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * layout.sampleBytes));
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(layout.nbSamples));
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC,
                 layout.nbSamples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(pTiff, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP,
                 TIFFDefaultStripSize(pTiff, static_cast<std::uint32_t>(layout.nbRowsOfStrip)));
}

void writeStrips(TIFF* pTiff, std::byte const* pPixels, vlUInt64 nbBytes) {
    auto const stripBytes = static_cast<vlUInt64>(TIFFStripSize(pTiff));
    std::uint32_t strip = 0;
    for (vlUInt64 offset = 0; offset < nbBytes; offset += stripBytes, ++strip) {
        vlUInt64 const size = std::min(stripBytes, nbBytes - offset);
        requireBytes(TIFFWriteEncodedStrip(pTiff, strip, const_cast<std::byte*>(pPixels + offset),
                                           static_cast<tmsize_t>(size)),
                     size);
    }
}

/// Reads the strips of the current directory. Returns the number of bytes read.
vlUInt64 readStrips(TIFF* pTiff, std::byte* pPixels, vlUInt64 nbBytes) {
    vlUInt64 offset = 0;
    std::uint32_t const nbStrips = TIFFNumberOfStrips(pTiff);
    for (std::uint32_t strip = 0; strip < nbStrips; ++strip) {
        tmsize_t const size =
            TIFFReadEncodedStrip(pTiff, strip, pPixels + offset, static_cast<tmsize_t>(nbBytes - offset));
        if (size < 0) {
            throw std::runtime_error("libtiff cannot read a strip");
        }
        offset += static_cast<vlUInt64>(size);
    }
    return offset;
}

/// The parts of a range of parts, which one thread reads.
void readParts(Descriptor const& file, std::vector<FilePart> const& parts, vlUInt64 first, vlUInt64 end,
               std::byte* pTarget) {
    for (vlUInt64 part = first; part < end; ++part) {
        file.read(pTarget, parts[part].nbBytes, parts[part].offset);
        pTarget += parts[part].nbBytes;
    }
}

vlUInt64 toNumber(std::byte const* pBytes, int nbBytes) {
    vlUInt64 number = 0;
    for (int i = nbBytes; i-- > 0;) {
        number = number << 8 | std::to_integer<vlUInt64>(pBytes[i]);
    }
    return number;
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

void saveByLibtiff(std::string const& path, TiffLayout const& layout, std::byte const* pPixels,
                   int compression) {
    Handle const handle = open(path, "w");
    for (vlUInt64 plane = 0; plane < layout.nbPlanes; ++plane) {
        setTags(handle.get(), layout, compression);
        writeStrips(handle.get(), pPixels + plane * layout.getPlaneBytes(), layout.getPlaneBytes());
        if (TIFFWriteDirectory(handle.get()) != 1) {
            throw std::runtime_error("libtiff cannot write a directory");
        }
    }
}

void saveAsImageJStack(std::string const& path, TiffLayout const& layout, std::byte const* pPixels) {
    constexpr std::uint16_t asShort = 3;
    constexpr std::uint16_t asLong = 4;
    constexpr std::uint16_t asText = 2;
    std::string const description = "ImageJ=1.53\nimages=" + std::to_string(layout.nbPlanes) + '\n';
    LittleEndian head;
    head.add16(0x4949).add16(42).add32(8); // byte order, version, offset of the only directory
    std::vector<Entry> const entries = {
        {TIFFTAG_IMAGEWIDTH, asLong, 1, layout.sizeX},
        {TIFFTAG_IMAGELENGTH, asLong, 1, layout.sizeY},
        {TIFFTAG_BITSPERSAMPLE, asShort, 1, 8 * layout.sampleBytes},
        {TIFFTAG_COMPRESSION, asShort, 1, COMPRESSION_NONE},
        {TIFFTAG_PHOTOMETRIC, asShort, 1, PHOTOMETRIC_MINISBLACK},
        {TIFFTAG_IMAGEDESCRIPTION, asText, description.size() + 1, g_imageJPlanes / 2},
        {TIFFTAG_STRIPOFFSETS, asLong, 1, g_imageJPlanes},
        {TIFFTAG_SAMPLESPERPIXEL, asShort, 1, 1},
        {TIFFTAG_ROWSPERSTRIP, asLong, 1, layout.sizeY},
        {TIFFTAG_STRIPBYTECOUNTS, asLong, 1, layout.getPlaneBytes()},
    };
    head.add16(entries.size());
    for (Entry const& entry : entries) {
        head.add16(entry.tag).add16(entry.type).add32(entry.count).add32(entry.value);
    }
    head.add32(0); // no further directory
    head.bytes.resize(g_imageJPlanes / 2);
    head.bytes += description;
    head.bytes.resize(g_imageJPlanes);
    Descriptor const descriptor = Descriptor::create(path);
    descriptor.write(head.bytes.data(), g_imageJPlanes, 0);
    descriptor.write(pPixels, layout.getNbBytes(), g_imageJPlanes);
}

vlUInt64 readByLibtiff(std::string const& path, std::byte* pPixels, vlUInt64 nbBytes) {
    Handle const handle = open(path, "r");
    vlUInt64 offset = 0;
    do {
        offset += readStrips(handle.get(), pPixels + offset, nbBytes - offset);
    } while (TIFFReadDirectory(handle.get()) == 1);
    return offset;
}

void readChannelsByLibtiff(std::string const& path, TiffLayout const& layout, std::byte* pChannels) {
    Handle const handle = open(path, "r");
    std::vector<std::byte> strip(static_cast<std::size_t>(TIFFStripSize(handle.get())));
    vlUInt64 const channelBytes = layout.getNbBytes() / 3;
    vlUInt64 pixel = 0;
    do {
        std::uint32_t const nbStrips = TIFFNumberOfStrips(handle.get());
        for (std::uint32_t number = 0; number < nbStrips; ++number) {
            tmsize_t const size = TIFFReadEncodedStrip(handle.get(), number, strip.data(), -1);
            for (tmsize_t sample = 0; sample + 2 < size; sample += 3, ++pixel) {
                std::byte const* const pSample = strip.data() + sample;
                pChannels[pixel] = pSample[0];
                pChannels[channelBytes + pixel] = pSample[1];
                pChannels[2 * channelBytes + pixel] = pSample[2];
            }
        }
    } while (TIFFReadDirectory(handle.get()) == 1);
    if (pixel != channelBytes) {
        throw std::runtime_error("libtiff reads another number of pixels");
    }
}

double timeLibtiffLoad(std::string const& path, vlUInt64 nbBytes) {
    Stopwatch const stopwatch;
    FreshMemory const pixels(nbBytes);
    requireBytes(static_cast<tmsize_t>(readByLibtiff(path, pixels.getData(), nbBytes)), nbBytes);
    return stopwatch.getSeconds();
}

double timeLibtiffOpening(std::string const& path, vlUInt64 directory, vlUInt64 nbDirectories,
                          std::vector<std::byte>& plane) {
    Stopwatch const stopwatch;
    Handle const handle = open(path, "r");
    if (TIFFNumberOfDirectories(handle.get()) != nbDirectories ||
        TIFFSetDirectory(handle.get(), static_cast<tdir_t>(directory)) != 1) {
        throw std::runtime_error("libtiff finds other directories");
    }
    requireBytes(static_cast<tmsize_t>(readStrips(handle.get(), plane.data(), plane.size())), plane.size());
    return stopwatch.getSeconds();
}

TiffPlaces findPlaces(std::string const& path) {
    Handle const handle = open(path, "r");
    TiffPlaces places;
    do {
        places.directories.push_back(TIFFCurrentDirOffset(handle.get()));
        std::uint32_t const nbStrips = TIFFNumberOfStrips(handle.get());
        for (std::uint32_t strip = 0; strip < nbStrips; ++strip) {
            FilePart const part = {TIFFGetStrileOffset(handle.get(), strip),
                                   TIFFGetStrileByteCount(handle.get(), strip)};
            FilePart* const pLast = places.parts.empty() ? nullptr : &places.parts.back();
            if (pLast != nullptr && pLast->offset + pLast->nbBytes == part.offset) {
                pLast->nbBytes += part.nbBytes;
            } else {
                places.parts.push_back(part);
            }
        }
    } while (TIFFReadDirectory(handle.get()) == 1);
    return places;
}

std::vector<FilePart> splitIntoPlanes(TiffLayout const& layout, vlUInt64 offset) {
    std::vector<FilePart> planes;
    for (vlUInt64 plane = 0; plane < layout.nbPlanes; ++plane) {
        planes.push_back({offset + plane * layout.getPlaneBytes(), layout.getPlaneBytes()});
    }
    return planes;
}

double timePreadOfParts(std::string const& path, std::vector<FilePart> const& parts, vlUInt64 nbThreads) {
    vlUInt64 nbBytes = 0;
    std::vector<vlUInt64> targets;
    for (FilePart const& part : parts) {
        targets.push_back(nbBytes);
        nbBytes += part.nbBytes;
    }
    Stopwatch const stopwatch;
    FreshMemory const pixels(nbBytes);
    Descriptor const file = Descriptor::openForReading(path);
    auto const read = [&](vlUInt64 thread) {
        vlUInt64 const first = parts.size() * thread / nbThreads;
        if (first < parts.size()) {
            readParts(file, parts, first, parts.size() * (thread + 1) / nbThreads,
                      pixels.getData() + targets[first]);
        }
    };
    std::vector<std::thread> others;
    for (vlUInt64 thread = 1; thread < nbThreads; ++thread) {
        others.emplace_back(read, thread);
    }
    read(0);
    for (std::thread& other : others) {
        other.join();
    }
    return stopwatch.getSeconds();
}

double timePreadOfLinks(std::string const& path, vlUInt64 nbDirectories, FilePart const& part) {
    Stopwatch const stopwatch;
    Descriptor const file = Descriptor::openForReading(path);
    std::array<std::byte, 8> head{};
    file.read(head.data(), head.size(), 0);
    vlUInt64 offset = toNumber(&head[4], 4);
    file.read(head.data(), 2, offset);
    vlUInt64 const nbTags = toNumber(head.data(), 2);
    std::vector<std::byte> directory(2 + 12 * nbTags + 4);
    for (vlUInt64 number = 0; number < nbDirectories; ++number) {
        file.read(directory.data(), directory.size(), offset);
        if (toNumber(directory.data(), 2) != nbTags) {
            throw std::runtime_error("A directory has another number of tags");
        }
        offset = toNumber(&directory[directory.size() - 4], 4);
    }
    if (offset != 0) {
        throw std::runtime_error("The file has more directories");
    }
    std::vector<std::byte> plane(part.nbBytes);
    file.read(plane.data(), part.nbBytes, part.offset);
    return stopwatch.getSeconds();
}

LibtiffPlanes::LibtiffPlanes(std::string const& path) : _handle(open(path, "r")) {}

void LibtiffPlanes::read(vlUInt64 directory, std::byte* pPlane, vlUInt64 nbBytes) const {
    if (TIFFSetSubDirectory(_handle.get(), directory) != 1) {
        throw std::runtime_error("libtiff cannot read a directory");
    }
    requireBytes(static_cast<tmsize_t>(readStrips(_handle.get(), pPlane, nbBytes)), nbBytes);
}

} // namespace velmo::bench
