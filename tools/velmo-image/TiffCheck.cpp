// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffCheck.h"

#include "Interrupt.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <memory>
#include <optional>
#include <tiffio.h>

namespace velmo {
namespace tool {

namespace {

using Warnings = std::vector<std::string>;

struct TiffCloser {
    void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};

/// The number of planes that an ImageJ description announces, as the library reads it.
std::optional<vlUInt64> findAnnouncedPlanes(TIFF* pTiff) {
    char const* pText = nullptr;
    if (TIFFGetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, &pText) != 1) {
        return std::nullopt;
    }
    std::string const text(pText);
    std::size_t key = text.find("images=");
    key = key == std::string::npos ? text.find("slices=") : key;
    if (text.find("ImageJ=") == std::string::npos || key == std::string::npos) {
        return std::nullopt;
    }
    long const nbPlanes = std::strtol(text.c_str() + key + 7, nullptr, 10);
    return nbPlanes < 0 ? std::nullopt : std::optional<vlUInt64>(static_cast<vlUInt64>(nbPlanes));
}

std::uint16_t getShort(TIFF* pTiff, std::uint32_t tag) {
    std::uint16_t value = 0;
    return TIFFGetFieldDefaulted(pTiff, tag, &value) == 1 ? value : std::uint16_t{1};
}

/// The bytes that there are for the planes of a stack against those that it announces.
Warnings findStackLengthWarnings(TIFF* pTiff, vlUInt64 nbPlanes, image::DiskImage const& image) {
    vlUInt64 const planeSize = image.getGeometry().getPlanMemorySize(0);
    vlUInt64 const fileSize = boost::filesystem::file_size(image.getAccessor()->getFilePath());
    vlUInt64 const offset = std::min<vlUInt64>(TIFFGetStrileOffset(pTiff, 0), fileSize);
    if (planeSize == 0 || (fileSize - offset) / planeSize >= nbPlanes) {
        return {};
    }
    return {"the ImageJ description announces " + std::to_string(nbPlanes) +
            " planes, and the file has bytes for " + std::to_string((fileSize - offset) / planeSize) +
            ": what is missing is read as zeros"};
}

/// A stack whose planes have no directories of their own is read as it lies behind its first strip.
Warnings findStackWarnings(TIFF* pTiff, vlUInt64 nbPlanes, vlUInt64 nbDirectories,
                           image::DiskImage const& image) {
    std::string const asTheyLie = ": its planes are delivered as they lie";
    bool const bSwapped =
        TIFFIsBigEndian(pTiff) != 0 && image::getImageBufferBaseSize(image.getBufferType()) > 1;
    bool const bMixed =
        getShort(pTiff, TIFFTAG_SAMPLESPERPIXEL) > 1 || getShort(pTiff, TIFFTAG_BITSPERSAMPLE) < 8;
    Warnings warnings = findStackLengthWarnings(pTiff, nbPlanes, image);
    for (auto const& [bFound, text] : std::initializer_list<std::pair<bool, std::string>>{
             {nbDirectories > 1, "the ImageJ description announces " + std::to_string(nbPlanes) +
                                     " planes, and the file has " + std::to_string(nbDirectories) +
                                     " directories: the planes are read one behind the other from the first"},
             {bSwapped, "the ImageJ stack is big-endian" + asTheyLie +
                            ", with the bytes of each value in reverse order"},
             {getShort(pTiff, TIFFTAG_COMPRESSION) != COMPRESSION_NONE,
              "the ImageJ stack is compressed" + asTheyLie},
             {bMixed, "the ImageJ stack has colours side by side or packed bits" + asTheyLie},
             {TIFFIsTiled(pTiff) != 0, "the ImageJ stack is tiled: pixels in tiles cannot be read"}}) {
        if (bFound) {
            warnings.push_back(text);
        }
    }
    return warnings;
}

/// Directories have numbers of 16 bits.
constexpr vlUInt64 g_maxDirectories = 65535;

struct DirectoryCounts {
    vlUInt64 nbRead = 0;
    vlUInt64 nbTiled = 0;
    vlUInt64 nbTurned = 0;
    bool bCut = false; ///< another one is announced and cannot be read
};

/// Walks the directories from the first one on.
DirectoryCounts countDirectories(TIFF* pTiff) {
    DirectoryCounts counts;
    for (bool bMore = true; bMore && !counts.bCut;) {
        throwIfInterrupted();
        ++counts.nbRead;
        counts.nbTiled += TIFFIsTiled(pTiff) != 0 ? 1 : 0;
        counts.nbTurned += getShort(pTiff, TIFFTAG_ORIENTATION) != ORIENTATION_TOPLEFT ? 1 : 0;
        bMore = TIFFLastDirectory(pTiff) == 0 && counts.nbRead < g_maxDirectories;
        counts.bCut = bMore && TIFFReadDirectory(pTiff) != 1;
    }
    return counts;
}

/// libtiff counts the directories up to the first that it cannot pass, which may be one that it cannot read.
Warnings findChainWarnings(DirectoryCounts const& counts, vlUInt64 nbDirectories) {
    if (!counts.bCut) {
        return {};
    }
    std::string const nbRead = std::to_string(counts.nbRead);
    if (counts.nbRead < nbDirectories) {
        return {"the file has " + std::to_string(nbDirectories) + " directories, of which " + nbRead +
                " can be read: the rest is left out"};
    }
    return {"the chain of directories cannot be followed behind directory " + nbRead +
            ": what follows is left out"};
}

Warnings findDirectoryWarnings(TIFF* pTiff, vlUInt64 nbDirectories) {
    DirectoryCounts const counts = countDirectories(pTiff);
    std::string const ofAll = "of " + std::to_string(counts.nbRead) + " directories ";
    Warnings warnings = findChainWarnings(counts, nbDirectories);
    if (counts.nbTiled != 0) {
        warnings.push_back(ofAll + std::to_string(counts.nbTiled) +
                           " are tiled: pixels in tiles cannot be read");
    }
    if (counts.nbTurned != 0) {
        warnings.push_back(ofAll + std::to_string(counts.nbTurned) +
                           " are to be shown turned or mirrored: their rows are read as they lie");
    }
    return warnings;
}

} // namespace

Warnings findTiffWarnings(image::DiskImage const& image) {
    // Not mapped into memory: a walk over the directories would keep pages around each, and a file cut short
    // by another process would end this one.
    std::unique_ptr<TIFF, TiffCloser> const pTiff(TIFFOpen(image.getAccessor()->getFilePath().c_str(), "rm"));
    if (!pTiff) {
        return {"the file has become unreadable"};
    }
    vlUInt64 const nbDirectories = TIFFNumberOfDirectories(pTiff.get());
    std::optional<vlUInt64> const nbPlanes = findAnnouncedPlanes(pTiff.get());
    if (nbPlanes && *nbPlanes != nbDirectories) {
        return findStackWarnings(pTiff.get(), *nbPlanes, nbDirectories, image);
    }
    return findDirectoryWarnings(pTiff.get(), nbDirectories);
}

} // namespace tool
} // namespace velmo
