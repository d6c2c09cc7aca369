// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PageDescription.h"

#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <tuple>

namespace velmo::importer {

namespace {

constexpr std::uint16_t g_oldReducedImage = 2; ///< value of the SubfileType tag

/// A small tile or strip may always be decoded.
constexpr vlUInt64 g_smallChunk = vlUInt64{1} << 20;

/// At most: a colour for each 4 x 4 pixels.
constexpr vlUInt64 g_subsampling = 4;

/// How many times larger the decoded bytes can be.
vlUInt64 getLargestGrowth(std::uint16_t compression) {
    switch (compression) {
    case COMPRESSION_NONE:
        return 1;
    case COMPRESSION_PACKBITS:
        return 128;
    case COMPRESSION_LZW:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_ADOBE_DEFLATE:
        return 4096;
    default:
        return vlUInt64{1} << 15; // a white page of fax, or zeros of ZSTD
    }
}

auto toPixelKey(PageShape const& shape) {
    return std::tie(shape.sizeX, shape.sizeY, shape.bits, shape.sampleFormat, shape.samples,
                    shape.extraSamples, shape.photometric, shape.inkSet, shape.depth);
}

auto toStorageKey(PageShape const& shape) {
    return std::tie(shape.bHasPhotometric, shape.bHasBits, shape.bSeparate, shape.compression,
                    shape.fillOrder, shape.orientation, shape.bTiled, shape.chunkX, shape.chunkY);
}

std::vector<std::uint16_t> readExtraSamples(TiffHandle const& handle) {
    std::uint16_t nbExtra = 0;
    std::uint16_t const* pExtra = nullptr;
    if (TIFFGetField(handle.get(), TIFFTAG_EXTRASAMPLES, &nbExtra, &pExtra) != 1 || pExtra == nullptr) {
        return {};
    }
    return {pExtra, pExtra + nbExtra};
}

void readChunks(TiffHandle const& handle, vlUInt64 number, PageShape& shape) {
    shape.bTiled = TIFFIsTiled(handle.get()) != 0;
    if (shape.bTiled) {
        shape.chunkX = handle.getTagOr<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        shape.chunkY = handle.getTagOr<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
    } else {
        auto const rows = handle.getTagOr<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, shape.sizeY);
        shape.chunkX = shape.sizeX;
        shape.chunkY = std::min(rows == 0 ? shape.sizeY : rows, shape.sizeY);
    }
    if (shape.chunkX == 0 || shape.chunkY == 0) {
        refuse("directory " + std::to_string(number) + " has tiles without pixels");
    }
}

} // namespace

bool PageShape::hasPixelsLike(PageShape const& other) const {
    return toPixelKey(*this) == toPixelKey(other);
}

bool PageShape::operator==(PageShape const& other) const {
    return hasPixelsLike(other) && toStorageKey(*this) == toStorageKey(other);
}

std::optional<vlUInt64> PageShape::getRowBytes() const {
    constexpr vlUInt64 bitsOfByte = 8;
    auto const nbSamples = checkedMultiply(sizeX, bSeparate ? 1 : samples);
    auto const nbBits = nbSamples ? checkedMultiply(*nbSamples, bits) : nbSamples;
    return nbBits ? std::optional(divideUp(*nbBits, bitsOfByte)) : nbBits;
}

PageShape readShape(TiffHandle const& handle, vlUInt64 number) {
    PageShape shape;
    shape.sizeX = handle.getTagOr<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    shape.sizeY = handle.getTagOr<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    if (shape.sizeX == 0 || shape.sizeY == 0) {
        refuse("directory " + std::to_string(number) + " has no pixels: its size is " +
               std::to_string(shape.sizeX) + " x " + std::to_string(shape.sizeY));
    }
    auto const bits = handle.getTag<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
    shape.bHasBits = bits.has_value();
    shape.bits = bits.value_or(1);
    shape.sampleFormat = handle.getTagOr<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    shape.samples = std::max<std::uint16_t>(1, handle.getTagOr<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1));
    shape.extraSamples = readExtraSamples(handle);
    auto const photometric = handle.getTag<std::uint16_t>(TIFFTAG_PHOTOMETRIC);
    shape.bHasPhotometric = photometric.has_value();
    shape.photometric = photometric.value_or(PHOTOMETRIC_MINISBLACK);
    if (shape.photometric == PHOTOMETRIC_SEPARATED) {
        shape.inkSet = handle.getTagOr<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK);
    }
    shape.bSeparate =
        shape.samples > 1 &&
        handle.getTagOr<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    shape.compression = handle.getTagOr<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    shape.fillOrder = handle.getTagOr<std::uint16_t>(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    shape.orientation = handle.getTagOr<std::uint16_t>(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    shape.depth = std::max<std::uint32_t>(1, handle.getTagOr<std::uint32_t>(TIFFTAG_IMAGEDEPTH, 1));
    readChunks(handle, number, shape);
    return shape;
}

ePageKind readKind(TiffHandle const& handle) {
    auto const type = handle.getTagOr<std::uint32_t>(TIFFTAG_SUBFILETYPE, 0);
    if ((type & FILETYPE_MASK) != 0) {
        return ePageKind::Mask;
    }
    bool const bReduced = (type & FILETYPE_REDUCEDIMAGE) != 0 ||
                          handle.getTagOr<std::uint16_t>(TIFFTAG_OSUBFILETYPE, 0) == g_oldReducedImage;
    return bReduced ? ePageKind::Reduced : ePageKind::Page;
}

vlUInt64 getLargestChunk(std::uint16_t compression, vlUInt64 nbBytesInFile) {
    auto const grown = checkedMultiply(nbBytesInFile, getLargestGrowth(compression));
    return std::max(g_smallChunk, grown.value_or(NumericLimits<vlUInt64>::s_max));
}

ChunkCheck checkChunks(TiffHandle const& handle, PageShape const& shape) {
    vlUInt64 const fileSize = handle.getFile().getSize();
    std::uint32_t const nbChunks =
        shape.bTiled ? TIFFNumberOfTiles(handle.get()) : TIFFNumberOfStrips(handle.get());
    ChunkCheck check = {0, true};
    vlUInt64 nbBytesInFile = 0;
    for (std::uint32_t chunk = 0; chunk < nbChunks; ++chunk) {
        vlUInt64 const offset = TIFFGetStrileOffset(handle.get(), chunk);
        vlUInt64 const nbBytes = TIFFGetStrileByteCount(handle.get(), chunk);
        check.nbMissing += offset == 0 && nbBytes == 0 ? 1 : 0;
        nbBytesInFile += offset < fileSize ? std::min(nbBytes, fileSize - offset) : 0;
    }
    bool const bSubsampled = shape.photometric == PHOTOMETRIC_YCBCR;
    auto const allowed =
        checkedAdd(getLargestChunk(shape.compression, nbBytesInFile * (bSubsampled ? g_subsampling : 1)),
                   check.nbMissing * g_smallChunk);
    auto const rowBytes = shape.getRowBytes();
    auto const channelBytes = rowBytes ? checkedMultiply(*rowBytes, shape.sizeY) : rowBytes;
    auto const pageBytes =
        channelBytes ? checkedMultiply(*channelBytes, shape.bSeparate ? shape.samples : 1) : channelBytes;
    check.bPlausible = pageBytes && (!allowed || *pageBytes <= *allowed);
    return check;
}

std::string getCompressionName(std::uint16_t compression) {
    TIFFCodec const* const pCodec = TIFFFindCODEC(compression);
    return pCodec != nullptr ? pCodec->name : "number " + std::to_string(compression);
}

} // namespace velmo::importer
