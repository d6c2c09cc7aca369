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

/// Of a stack whose planes follow the first one without directories of their own, as they lie.
Warnings findStackWarnings(TIFF* pTiff, vlUInt64 nbPlanes, vlUInt64 nbDirectories,
                           image::DiskImage const& image) {
    Warnings warnings;
    std::string const asTheyLie = ": its planes are delivered as they lie";
    vlUInt64 const planeSize = image.getGeometry().getPlanMemorySize(0);
    vlUInt64 const fileSize = boost::filesystem::file_size(image.getAccessor()->getFilePath());
    vlUInt64 const offset = std::min<vlUInt64>(TIFFGetStrileOffset(pTiff, 0), fileSize);
    if (planeSize != 0 && (fileSize - offset) / planeSize < nbPlanes) {
        warnings.push_back("the ImageJ description announces " + std::to_string(nbPlanes) +
                           " planes, and the file has bytes for " +
                           std::to_string((fileSize - offset) / planeSize) +
                           ": what is missing is read as zeros");
    }
    if (nbDirectories > 1) {
        warnings.push_back("the ImageJ description announces " + std::to_string(nbPlanes) +
                           " planes, and the file has " + std::to_string(nbDirectories) +
                           " directories: the planes are read one behind the other from the first on");
    }
    if (TIFFIsBigEndian(pTiff) != 0 && image::getImageBufferBaseSize(image.getBufferType()) > 1) {
        warnings.push_back("the ImageJ stack is big-endian" + asTheyLie +
                           ", with the bytes of each value in reverse order");
    }
    if (getShort(pTiff, TIFFTAG_COMPRESSION) != COMPRESSION_NONE) {
        warnings.push_back("the ImageJ stack is compressed" + asTheyLie);
    }
    if (getShort(pTiff, TIFFTAG_SAMPLESPERPIXEL) > 1 || getShort(pTiff, TIFFTAG_BITSPERSAMPLE) < 8) {
        warnings.push_back("the ImageJ stack has colours side by side or packed bits" + asTheyLie);
    }
    return warnings;
}

/// Walks the directories from the first one on.
Warnings findDirectoryWarnings(TIFF* pTiff, vlUInt64 nbDirectories) {
    Warnings warnings;
    vlUInt64 nbRead = 0;
    vlUInt64 nbTiled = 0;
    do {
        throwIfInterrupted();
        ++nbRead;
        nbTiled += TIFFIsTiled(pTiff) != 0 ? 1 : 0;
    } while (TIFFReadDirectory(pTiff) == 1);
    if (nbRead < nbDirectories) {
        warnings.push_back("the file has " + std::to_string(nbDirectories) + " directories, of which " +
                           std::to_string(nbRead) + " can be read: the rest is left out");
    }
    if (nbTiled != 0) {
        warnings.push_back("of " + std::to_string(nbRead) + " directories " + std::to_string(nbTiled) +
                           " are tiled: pixels in tiles cannot be read");
    }
    return warnings;
}

} // namespace

Warnings findTiffWarnings(image::DiskImage const& image) {
    std::unique_ptr<TIFF, TiffCloser> const pTiff(TIFFOpen(image.getAccessor()->getFilePath().c_str(), "r"));
    if (!pTiff) {
        return {"the file has become unreadable"};
    }
    vlUInt64 const nbDirectories = TIFFNumberOfDirectories(pTiff.get());
    std::optional<vlUInt64> const nbPlanes = findAnnouncedPlanes(pTiff.get());
    if (nbPlanes && *nbPlanes != nbDirectories) {
        Warnings warnings = findStackWarnings(pTiff.get(), *nbPlanes, nbDirectories, image);
        if (TIFFIsTiled(pTiff.get()) != 0) {
            warnings.emplace_back("the ImageJ stack is tiled: pixels in tiles cannot be read");
        }
        return warnings;
    }
    return findDirectoryWarnings(pTiff.get(), nbDirectories);
}

} // namespace tool
} // namespace velmo
