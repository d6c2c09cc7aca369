// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "TiffHandle.h"

#include <VELMOUtil/Types.h>
#include <string>
#include <vector>

namespace velmo::importer {

/// How the pixels of a directory are stored. Values are those of the tags, or the defaults of TIFF.
struct PageShape {
    std::uint32_t sizeX = 0;
    std::uint32_t sizeY = 0;
    std::uint16_t bits = 1;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t samples = 1;
    std::vector<std::uint16_t> extraSamples; ///< kinds of the last samples
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t inkSet = INKSET_CMYK;
    bool bHasPhotometric = true;
    bool bHasBits = true;
    bool bSeparate = false; ///< channels in planes of their own
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint16_t fillOrder = FILLORDER_MSB2LSB;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    bool bTiled = false;
    std::uint32_t chunkX = 0; ///< columns of a tile; of a strip, those of the image
    std::uint32_t chunkY = 0; ///< rows of a tile or strip, at most those of the image for a strip
    std::uint32_t depth = 1;  ///< planes of a volume in one directory

    /// Whether the pixels mean the same, so that both pages can be in one series.
    bool hasPixelsLike(PageShape const& other) const;
    bool operator==(PageShape const& other) const;
    /// The number of samples that are neither colours nor grey.
    vlUInt64 countExtraSamples() const { return extraSamples.size(); }
    /// Bytes of one row of the page, of all channels or of one of those in planes of their own; empty if they
    /// overflow 64 bits.
    std::optional<vlUInt64> getRowBytes() const;
};

/// Bits of the NewSubfileType tag; reduced pages of the older SubfileType tag have the first one.
enum class ePageKind { Page, Reduced, Mask };

/// A directory of a file.
struct Page {
    vlUInt64 offset;   ///< of the directory
    vlUInt64 number;   ///< of the directory, from 0
    std::size_t shape; ///< index of its PageShape
    ePageKind kind;
    std::uint32_t nbMissingChunks; ///< tiles or strips without bytes in the file
    bool bPlausible;               ///< the bytes in the file can hold the pixels
};

/// Reads the shape of the current directory, which has this number. Throws ImportException for a directory
/// without pixels.
PageShape readShape(TiffHandle const& handle, vlUInt64 number);
/// The kind of the current directory.
ePageKind readKind(TiffHandle const& handle);

/// The tiles or strips of the current directory.
struct ChunkCheck {
    std::uint32_t nbMissing;
    bool bPlausible;
};
/// Compares the announced pixels with the bytes in the file.
ChunkCheck checkChunks(TiffHandle const& handle, PageShape const& shape);

/// The largest number of bytes that a tile or strip can become when it is decoded.
vlUInt64 getLargestChunk(std::uint16_t compression, vlUInt64 nbBytesInFile);

/// "Deflate", or the number of an unknown compression.
std::string getCompressionName(std::uint16_t compression);

} // namespace velmo::importer
