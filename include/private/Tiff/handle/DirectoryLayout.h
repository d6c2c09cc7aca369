// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <tiffio.h>

namespace velmo::image::file {

/// Sizes in bytes of the numbers of a directory. A directory is a count, its entries and a link to the next
/// one. An entry is a tag, a type, a count and a value, or the offset of the value if it is too long.
struct DirectoryLayout {
    vlUInt64 firstLinkOffset; ///< of the link to the first directory, in the header of the file
    vlUInt64 countSize;
    vlUInt64 entrySize;
    vlUInt64 linkSize; ///< also the size of a value, of an offset and of the count of an entry

    /// Bytes of an entry before its value.
    vlUInt64 getHeadSize() const { return entrySize - linkSize; }
};

constexpr DirectoryLayout g_classicLayout = {4, 2, 12, 4};
constexpr DirectoryLayout g_bigLayout = {8, 8, 20, 8};
constexpr vlUInt64 g_tagSize = 2;
constexpr vlUInt64 g_typeSize = 2;

inline DirectoryLayout const& getDirectoryLayout(TIFF* pTiff) {
    return TIFFIsBigTIFF(pTiff) != 0 ? g_bigLayout : g_classicLayout;
}

/// A number in the byte order of the file.
inline vlUInt64 toNumber(TIFF* pTiff, unsigned char const* pBytes, vlUInt64 nbBytes) {
    bool const bBigEndian = TIFFIsBigEndian(pTiff) != 0;
    vlUInt64 number = 0;
    for (vlUInt64 i = 0; i < nbBytes; ++i) {
        number = number << 8 | pBytes[bBigEndian ? i : nbBytes - 1 - i];
    }
    return number;
}

/// An entry of a directory.
struct DirectoryEntry {
    vlUInt64 tag;
    vlUInt64 type;
    vlUInt64 count;
    unsigned char const* pValue;

    static DirectoryEntry read(TIFF* pTiff, unsigned char const* pEntry) {
        vlUInt64 const linkSize = getDirectoryLayout(pTiff).linkSize;
        return {toNumber(pTiff, pEntry, g_tagSize), toNumber(pTiff, pEntry + g_tagSize, g_typeSize),
                toNumber(pTiff, pEntry + g_tagSize + g_typeSize, linkSize),
                pEntry + g_tagSize + g_typeSize + linkSize};
    }
    /// Bytes of a number; 0 for an unknown type.
    vlUInt64 getNumberSize() const {
        return static_cast<vlUInt64>(TIFFDataWidth(static_cast<TIFFDataType>(type <= TIFF_IFD8 ? type : 0)));
    }
};

} // namespace velmo::image::file
