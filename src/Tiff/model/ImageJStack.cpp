// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/ImageJStack.h"

#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffStoredGeometry.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <cstring>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_nothingAnnounced = NumericLimits<vlUInt64>::s_max;

/// The value of a key of the description, up to the end of its line.
std::optional<std::string> findValue(std::string const& description, std::string const& key) {
    auto const found = description.find(key);
    if (found == std::string::npos) {
        return std::nullopt;
    }
    auto const start = found + key.size();
    return description.substr(start, description.find('\n', start) - start);
}

bool hasWholeBytes(TIFF* pTiff) {
    constexpr std::uint16_t bitsOfByte = 8;
    return getTag<std::uint16_t>(pTiff, TIFFTAG_BITSPERSAMPLE).value_or(1) % bitsOfByte == 0;
}

/// Whether the strips of the current directory have equal sizes, except for the last one, and are contiguous.
bool hasContiguousStrips(TIFF* pTiff) {
    std::uint32_t const nbStrips = TIFFNumberOfStrips(pTiff);
    std::uint64_t const stripBytes = TIFFStripSize64(pTiff);
    std::uint64_t expected = TIFFGetStrileOffset(pTiff, 0);
    bool bContiguous = nbStrips != 0;
    for (std::uint32_t strip = 0; bContiguous && strip < nbStrips; ++strip) {
        bContiguous = TIFFGetStrileOffset(pTiff, strip) == expected;
        expected += stripBytes;
    }
    return bContiguous;
}

} // namespace

vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff) {
    auto const text = getTag<char*>(pTiff, TIFFTAG_IMAGEDESCRIPTION);
    if (!text || std::strstr(*text, "ImageJ=") == nullptr) {
        return g_nothingAnnounced;
    }
    std::string const description(*text);
    auto value = findValue(description, "images=");
    if (!value) {
        value = findValue(description, "slices=");
    }
    return value ? static_cast<vlUInt64>(std::stoi(*value)) : g_nothingAnnounced;
}

std::optional<FurtherPlanes> findFurtherPlanes(TIFF* pTiff, vlUInt64 nbAnnounced,
                                               TiffDirectories const& directories) {
    vlUInt64 const nbDirectories = directories.count();
    if (nbAnnounced <= nbDirectories || nbAnnounced > g_largestAnnouncement || directories.isBroken()) {
        return std::nullopt;
    }
    auto const nbStacked = nbDirectories == 1 ? countStackPlanes(pTiff) : std::nullopt;
    return FurtherPlanes{nbStacked, nbStacked.value_or(nbDirectories)};
}

bool isImageJStack(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy) {
    vlUInt64 const nbDirectories = TiffDirectories(pTiff, policy).count();
    if (readsStacksAsStored(policy)) {
        vlUInt64 const nbAnnounced = extractNbPagesFromIJDescription(pTiff);
        return nbAnnounced != g_nothingAnnounced && nbAnnounced != nbDirectories;
    }
    // The opening has already parsed the description of a single directory. Descriptions of other files may
    // contain an invalid number.
    return nbDirectories == 1 && geometry.getSizeZ() * geometry.getSizeT() > 1 && !isOwnFile(pTiff) &&
           extractNbPagesFromIJDescription(pTiff) != g_nothingAnnounced;
}

std::optional<vlUInt64> countStackPlanes(TIFF* pTiff) {
    auto const length = getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGELENGTH).value_or(0);
    auto const planeBytes = checkedMultiply(TIFFScanlineSize64(pTiff), length);
    TiffStream const* const pStream = TiffStream::find(pTiff);
    bool const bLocated = pStream != nullptr && planeBytes && *planeBytes != 0 &&
                          getCompression(pTiff) == COMPRESSION_NONE && TIFFIsTiled(pTiff) == 0 &&
                          hasUsualFillOrder(pTiff) && hasWholeBytes(pTiff) && hasContiguousStrips(pTiff);
    if (!bLocated) {
        return std::nullopt;
    }
    vlUInt64 const first = TIFFGetStrileOffset(pTiff, 0);
    vlUInt64 const fileSize = pStream->getSize();
    return first == 0 || first > fileSize ? 0 : (fileSize - first) / *planeBytes;
}

} // namespace velmo::image::file
