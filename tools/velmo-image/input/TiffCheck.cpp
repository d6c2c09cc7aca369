// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/TiffCheck.h"

#include "terminal/Interrupt.h"

#include <VELMOImage/ImageAccessor.h>
#include <memory>
#include <tiffio.h>

namespace velmo::tool {

namespace {

using Warnings = std::vector<std::string>;

struct TiffCloser {
    void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};

std::uint16_t getShort(TIFF* pTiff, std::uint32_t tag) {
    std::uint16_t value = 0;
    return TIFFGetFieldDefaulted(pTiff, tag, &value) == 1 ? value : std::uint16_t{1};
}

} // namespace

Warnings findTiffWarnings(image::DiskImage const& image) {
    // Not mapped into memory: a walk over the directories would keep pages around each, and a file cut short
    // by another process would end this one.
    std::unique_ptr<TIFF, TiffCloser> const pTiff(TIFFOpen(image.getAccessor()->getFilePath().c_str(), "rm"));
    if (!pTiff) {
        return {"the file has become unreadable"};
    }
    vlUInt64 nbDirectories = 0;
    vlUInt64 nbTiled = 0;
    vlUInt64 nbTurned = 0;
    do {
        throwIfInterrupted();
        ++nbDirectories;
        nbTiled += TIFFIsTiled(pTiff.get()) != 0 ? 1 : 0;
        nbTurned += getShort(pTiff.get(), TIFFTAG_ORIENTATION) != ORIENTATION_TOPLEFT ? 1 : 0;
    } while (TIFFReadDirectory(pTiff.get()) == 1);
    std::string const ofAll = "of " + std::to_string(nbDirectories) + " directories ";
    Warnings warnings;
    if (nbTiled != 0) {
        warnings.push_back(ofAll + std::to_string(nbTiled) + " are tiled: pixels in tiles cannot be read");
    }
    if (nbTurned != 0) {
        warnings.push_back(ofAll + std::to_string(nbTurned) +
                           " are to be shown turned or mirrored: their rows are read as they lie");
    }
    return warnings;
}

} // namespace velmo::tool
