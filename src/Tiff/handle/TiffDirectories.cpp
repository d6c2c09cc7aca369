// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffDirectories.h"

#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOUtil/Types.h>
#include <algorithm>
#include <tiffio.h>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_directoryNumbers = 65536;
/// The largest number of directories that libtiff follows.
constexpr vlUInt64 g_longestChain = 1048576;

/// Sizes of the numbers of a directory, in a classic file or in a BigTIFF file.
struct DirectoryLayout {
    vlUInt64 firstLinkOffset;
    vlUInt64 countSize;
    vlUInt64 entrySize;
    vlUInt64 linkSize;
};

constexpr DirectoryLayout g_classic = {4, 2, 12, 4};
constexpr DirectoryLayout g_big = {8, 8, 20, 8};

std::optional<vlUInt64> readNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 nbBytes) {
    unsigned char bytes[8] = {};
    if (stream.readAt(offset, bytes, nbBytes) != nbBytes) {
        return std::nullopt;
    }
    bool const bBigEndian = TIFFIsBigEndian(pTiff) != 0;
    vlUInt64 number = 0;
    for (vlUInt64 i = 0; i < nbBytes; ++i) {
        number = number << 8 | bytes[bBigEndian ? i : nbBytes - 1 - i];
    }
    return number;
}

DirectoryLayout const& getDirectoryLayout(TIFF* pTiff) {
    return TIFFIsBigTIFF(pTiff) != 0 ? g_big : g_classic;
}

/// Offset of the entry of a tag in the directory at `offset`.
std::optional<vlUInt64> findEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    DirectoryLayout const& layout = getDirectoryLayout(pTiff);
    vlUInt64 const nbEntries = readNumber(pTiff, stream, offset, layout.countSize).value_or(0);
    for (vlUInt64 entry = 0; entry < nbEntries && entry < g_directoryNumbers; ++entry) {
        vlUInt64 const place = offset + layout.countSize + entry * layout.entrySize;
        if (readNumber(pTiff, stream, place, 2).value_or(0) == tag) {
            return place;
        }
    }
    return std::nullopt;
}

/// The offset of the next directory, stored after the directory at `offset`.
std::optional<vlUInt64> readLink(TIFF* pTiff, TiffStream& stream, DirectoryLayout const& layout,
                                 vlUInt64 offset) {
    auto const nbEntries = readNumber(pTiff, stream, offset, layout.countSize);
    if (!nbEntries || *nbEntries >= g_directoryNumbers) {
        return std::nullopt;
    }
    return readNumber(pTiff, stream, offset + layout.countSize + *nbEntries * layout.entrySize,
                      layout.linkSize);
}

} // namespace

bool DirectoryChain::findNext(TIFF* pTiff, TiffStream& stream) {
    if (_bEnded) {
        return false;
    }
    DirectoryLayout const& layout = getDirectoryLayout(pTiff);
    auto const link = _offsets.empty() ? readNumber(pTiff, stream, layout.firstLinkOffset, layout.linkSize)
                                       : readLink(pTiff, stream, layout, _offsets.back());
    _bBroken = !link || _known.count(*link) != 0 || _offsets.size() == g_longestChain;
    _bEnded = _bBroken || *link == 0;
    if (!_bEnded) {
        _offsets.push_back(*link);
        _known.insert(*link);
    }
    return !_bEnded;
}

std::optional<vlUInt64> DirectoryChain::find(TIFF* pTiff, TiffStream& stream, vlUInt64 index) {
    while (_offsets.size() <= index && findNext(pTiff, stream)) {
    }
    return index < _offsets.size() ? std::optional(_offsets[index]) : std::nullopt;
}

vlUInt64 DirectoryChain::count(TIFF* pTiff, TiffStream& stream) {
    while (findNext(pTiff, stream)) {
    }
    if (!_count) {
        _count = _bBroken ? TIFFNumberOfDirectories(pTiff) : _offsets.size();
    }
    return *_count;
}

bool DirectoryChain::isBroken(TIFF* pTiff, TiffStream& stream) {
    while (findNext(pTiff, stream)) {
    }
    return _bBroken;
}

void DirectoryChain::invalidate() {
    *this = DirectoryChain();
}

TiffDirectories::TiffDirectories(TIFF* pTiff, eTiffPolicy policy)
    : _pTiff(pTiff), _pStream(TiffStream::find(pTiff)), _policy(policy) {
    if (_pStream != nullptr) {
        _pStream->discardReadAhead();
    }
}

vlUInt64 TiffDirectories::count() const {
    return toNumber(_pStream == nullptr ? TIFFNumberOfDirectories(_pTiff)
                                        : _pStream->accessChain().count(_pTiff, *_pStream));
}

bool TiffDirectories::isBroken() const {
    return _pStream != nullptr && _pStream->accessChain().isBroken(_pTiff, *_pStream);
}

vlUInt64 TiffDirectories::toNumber(vlUInt64 index) const {
    return cutsDirectoryNumbers(_policy) ? index % g_directoryNumbers : index;
}

BoolResult TiffDirectories::reach(vlUInt64 index) const {
    vlUInt64 const number = toNumber(index);
    vlUInt64 const previousOffset = TIFFCurrentDirOffset(_pTiff);
    auto const known =
        _pStream == nullptr ? std::nullopt : _pStream->accessChain().find(_pTiff, *_pStream, number);
    constexpr vlUInt64 largestNumber = NumericLimits<tdir_t>::s_max; // larger than any existing number
    int const reached = known
                            ? TIFFSetSubDirectory(_pTiff, *known)
                            : TIFFSetDirectory(_pTiff, static_cast<tdir_t>(std::min(number, largestNumber)));
    if (reached == 1) {
        return success();
    }
    std::string const message = lastTiffMessage();
    reloadDirectory(previousOffset);
    return failure(message);
}

void TiffDirectories::reloadDirectory(vlUInt64 offset) const {
    if (_pStream != nullptr) {
        _pStream->discardReadAhead();
    }
    if (offset == 0 || TIFFSetSubDirectory(_pTiff, offset) != 1) {
        TIFFSetField(_pTiff, TIFFTAG_COMPRESSION,
                     COMPRESSION_NONE); // otherwise libtiff leaks the memory of the codec
        TIFFFreeDirectory(_pTiff);
        TIFFCreateDirectory(_pTiff);
    }
}

void TiffDirectories::invalidate() const {
    if (_pStream != nullptr) {
        _pStream->accessChain().invalidate();
    }
}

vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    auto const place = findEntry(pTiff, stream, offset, tag);
    if (!place) {
        return 0;
    }
    DirectoryLayout const& layout = getDirectoryLayout(pTiff);
    vlUInt64 const type = readNumber(pTiff, stream, *place + 2, 2).value_or(0);
    vlUInt64 const size = type == TIFF_SHORT ? 2 : type == TIFF_LONG8 ? 8 : 4;
    return readNumber(pTiff, stream, *place + layout.entrySize - layout.linkSize, size).value_or(0);
}

bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    return findEntry(pTiff, stream, offset, tag).has_value();
}

} // namespace velmo::image::file
