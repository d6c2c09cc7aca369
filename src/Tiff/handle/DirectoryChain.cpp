// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/DirectoryChain.h"

#include "Tiff/handle/DirectoryLayout.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <array>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_largestEntryCount = 65536;
/// The largest number of directories that libtiff follows.
constexpr vlUInt64 g_longestChain = 1048576;
/// A directory with more entries has no shape.
constexpr vlUInt64 g_comparedEntries = 256;
/// A directory with a longer value outside of the directory has no shape, except for texts.
constexpr vlUInt64 g_comparedBytes = 256;
constexpr vlUInt64 g_longestText = 4096;
/// A file with more shapes is read by libtiff.
constexpr std::size_t g_comparedShapes = 16;

std::optional<vlUInt64> readNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 nbBytes) {
    unsigned char bytes[sizeof(vlUInt64)] = {};
    if (stream.readAt(offset, bytes, nbBytes) != nbBytes) {
        return std::nullopt;
    }
    return toNumber(pTiff, bytes, nbBytes);
}

/// Offset of the entry of a tag in the directory at `offset`.
std::optional<vlUInt64> findEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    DirectoryLayout const& layout = getDirectoryLayout(pTiff);
    vlUInt64 const nbEntries = readNumber(pTiff, stream, offset, layout.countSize).value_or(0);
    for (vlUInt64 entry = 0; entry < nbEntries && entry < g_largestEntryCount; ++entry) {
        vlUInt64 const place = offset + layout.countSize + entry * layout.entrySize;
        if (readNumber(pTiff, stream, place, g_tagSize).value_or(0) == tag) {
            return place;
        }
    }
    return std::nullopt;
}

/// Bytes of a number in a list of strips; 0 for a type that such lists do not have.
vlUInt64 getStripNumberSize(vlUInt64 type) {
    return type == TIFF_SHORT ? 2 : type == TIFF_LONG ? 4 : type == TIFF_LONG8 ? 8 : 0;
}

bool isTextWithItsEnd(std::string const& text) {
    return !text.empty() && text.find('\0') == text.size() - 1;
}

} // namespace

/// Reads one directory and determines its shape.
class DirectoryChain::Reader {
  public:
    Reader(TIFF* pTiff, TiffStream& stream, vlUInt64 offset)
        : _pTiff(pTiff), _stream(stream), _layout(getDirectoryLayout(pTiff)), _offset(offset) {}

    /// Offset of the next directory; empty if it cannot be read.
    std::optional<vlUInt64> readLink() {
        auto const nbEntries = readNumber(_pTiff, _stream, _offset, _layout.countSize);
        if (!nbEntries || *nbEntries >= g_largestEntryCount) {
            return std::nullopt;
        }
        vlUInt64 const entries = _offset + _layout.countSize;
        if (*nbEntries > g_comparedEntries) {
            return readNumber(_pTiff, _stream, entries + *nbEntries * _layout.entrySize, _layout.linkSize);
        }
        vlUInt64 const nbBytes = *nbEntries * _layout.entrySize + _layout.linkSize;
        if (_stream.readAt(entries, _bytes.data(), nbBytes) != nbBytes) {
            return std::nullopt;
        }
        _nbEntries = *nbEntries;
        return toNumber(_pTiff, _bytes.data() + nbBytes - _layout.linkSize, _layout.linkSize);
    }

    /// Call it after `readLink`. Returns whether the directory has a shape, and stores it in `shape`.
    bool readShape(Shape& shape, Directory& directory) {
        bool bComparable = _nbEntries != 0;
        for (vlUInt64 entry = 0; bComparable && entry < _nbEntries; ++entry) {
            bComparable = addEntry(entry, shape, directory);
        }
        return bComparable && shape.stripOffsets.count != 0 && shape.stripByteCounts.count != 0;
    }

  private:
    bool addEntry(vlUInt64 index, Shape& shape, Directory& directory) {
        unsigned char const* const pEntry = _bytes.data() + index * _layout.entrySize;
        DirectoryEntry const entry = DirectoryEntry::read(_pTiff, pEntry);
        auto const size = checkedMultiply(entry.count, entry.getNumberSize());
        if (!size || *size == 0) {
            return false;
        }
        bool const bInside = *size <= _layout.linkSize;
        bool const bText = entry.type == TIFF_ASCII && !bInside;
        shape.bytes.append(reinterpret_cast<char const*>(pEntry),
                           bText ? g_tagSize + g_typeSize : _layout.getHeadSize());
        vlUInt64 const place =
            bInside ? _offset + _layout.countSize + index * _layout.entrySize + _layout.getHeadSize()
                    : toNumber(_pTiff, entry.pValue, _layout.linkSize);
        if (entry.tag == TIFFTAG_STRIPOFFSETS) {
            return addStrips(entry, place, shape.stripOffsets, directory.stripOffsets);
        }
        if (entry.tag == TIFFTAG_STRIPBYTECOUNTS) {
            return addStrips(entry, place, shape.stripByteCounts, directory.stripByteCounts);
        }
        if (bInside) {
            bool const bCompared = entry.tag != TIFFTAG_PAGENUMBER;
            shape.bytes.append(reinterpret_cast<char const*>(entry.pValue), bCompared ? _layout.linkSize : 0);
            return true;
        }
        return addValue(entry.tag, bText, place, *size, shape);
    }

    bool addStrips(DirectoryEntry const& entry, vlUInt64 place, NumberFormat& format,
                   NumberList& list) const {
        vlUInt64 const size = getStripNumberSize(entry.type);
        bool const bFirst = format.count == 0;
        format = {entry.type, entry.count};
        list = {place, entry.count == 1 && size != 0 && size <= _layout.linkSize
                           ? toNumber(_pTiff, entry.pValue, size)
                           : 0};
        return bFirst && size != 0;
    }

    /// Adds a value outside of the directory to the shape. For a text that this module does not use, it only
    /// checks that libtiff accepts it.
    bool addValue(vlUInt64 tag, bool bText, vlUInt64 place, vlUInt64 size, Shape& shape) const {
        if (size > (bText ? g_longestText : g_comparedBytes)) {
            return false;
        }
        std::string value(size, '\0');
        if (_stream.readAt(place, value.data(), size) != size || (bText && !isTextWithItsEnd(value))) {
            return false;
        }
        bool const bRead = !bText || tag == TIFFTAG_SOFTWARE ||
                           (tag == TIFFTAG_IMAGEDESCRIPTION && value.find("ImageJ=") != std::string::npos);
        shape.bytes += bRead ? value : std::string();
        return true;
    }

    TIFF* _pTiff;
    TiffStream& _stream;
    DirectoryLayout const& _layout;
    vlUInt64 _offset;
    vlUInt64 _nbEntries = 0;
    std::array<unsigned char, g_comparedEntries * g_bigLayout.entrySize + g_bigLayout.linkSize> _bytes;
};

bool DirectoryChain::findNext(TIFF* pTiff, TiffStream& stream) {
    if (_bEnded) {
        return false;
    }
    if (_directories.empty()) {
        DirectoryLayout const& layout = getDirectoryLayout(pTiff);
        _link = readNumber(pTiff, stream, layout.firstLinkOffset, layout.linkSize);
    }
    _bBroken = !_link || _indexes.count(*_link) != 0 || _directories.size() == g_longestChain;
    _bEnded = _bBroken || *_link == 0;
    if (_bEnded) {
        return false;
    }
    Directory directory = {*_link, s_noShape, {}, {}};
    Reader reader(pTiff, stream, directory.offset);
    Shape shape;
    _link = reader.readLink();
    if (_link && _bComparing && reader.readShape(shape, directory)) {
        directory.shape = keepShape(std::move(shape));
    }
    _indexes.emplace(directory.offset, _directories.size());
    _directories.push_back(directory);
    return true;
}

std::size_t DirectoryChain::keepShape(Shape&& shape) {
    auto const found = std::find_if(_shapes.rbegin(), _shapes.rend(),
                                    [&](Shape const& known) { return known.bytes == shape.bytes; });
    if (found != _shapes.rend()) {
        return static_cast<std::size_t>(_shapes.rend() - found) - 1;
    }
    if (_shapes.size() == g_comparedShapes) {
        return s_noShape;
    }
    _shapes.push_back(std::move(shape));
    return _shapes.size() - 1;
}

std::optional<vlUInt64> DirectoryChain::find(TIFF* pTiff, TiffStream& stream, vlUInt64 index) {
    while (_directories.size() <= index && findNext(pTiff, stream)) {
    }
    return index < _directories.size() ? std::optional(_directories[index].offset) : std::nullopt;
}

std::optional<vlUInt64> DirectoryChain::findAppended(TIFF* pTiff, TiffStream& stream, vlUInt64 index) {
    if (!_directories.empty()) {
        _link = Reader(pTiff, stream, _directories.back().offset).readLink();
        _bEnded = false;
        _count.reset();
    }
    return find(pTiff, stream, index);
}

void DirectoryChain::append(AppendedDirectory const& appended, vlUInt64 model) {
    Directory directory = _directories[model];
    directory.offset = appended.directory;
    directory.stripOffsets = {appended.stripOffsets, appended.firstStrip};
    directory.stripByteCounts.place = appended.stripByteCounts;
    _indexes.emplace(directory.offset, _directories.size());
    _directories.push_back(directory);
}

vlUInt64 DirectoryChain::count(TIFF* pTiff, TiffStream& stream) {
    while (findNext(pTiff, stream)) {
    }
    if (!_count) {
        _count = _bBroken ? TIFFNumberOfDirectories(pTiff) : _directories.size();
    }
    return *_count;
}

bool DirectoryChain::isBroken(TIFF* pTiff, TiffStream& stream) {
    while (findNext(pTiff, stream)) {
    }
    return _bBroken;
}

void DirectoryChain::invalidate() {
    bool const bComparing = _bComparing;
    *this = DirectoryChain();
    _bComparing = bComparing;
}

void DirectoryChain::disableShapes() {
    _bComparing = false;
    invalidate();
}

void DirectoryChain::invalidateStrips(vlUInt64 offset) {
    auto const index = findIndex(offset);
    if (index) {
        _directories[*index].shape = s_noShape;
    }
}

std::optional<vlUInt64> DirectoryChain::findIndex(vlUInt64 offset) const {
    auto const found = _indexes.find(offset);
    return found != _indexes.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<vlUInt64> DirectoryChain::findShape(vlUInt64 index) const {
    bool const bShape = index < _directories.size() && _directories[index].shape != s_noShape;
    return bShape ? std::optional<vlUInt64>(_directories[index].shape) : std::nullopt;
}

/// Reads at most `nbWanted` numbers; none if they are not in the file.
std::vector<vlUInt64> DirectoryChain::readList(TIFF* pTiff, TiffStream& stream, NumberList const& list,
                                               NumberFormat const& format, vlUInt64 nbWanted) {
    if (format.count == 1) {
        return {list.only};
    }
    vlUInt64 const size = getStripNumberSize(format.type);
    vlUInt64 const nbNumbers = std::min(format.count, nbWanted);
    auto const end = checkedAdd(list.place, checkedMultiply(nbNumbers, size).value_or(list.place));
    if (!end || *end > stream.getSize()) {
        return {};
    }
    std::vector<unsigned char> bytes(nbNumbers * size);
    if (stream.readAt(list.place, bytes.data(), bytes.size()) != bytes.size()) {
        return {};
    }
    std::vector<vlUInt64> numbers(nbNumbers);
    for (vlUInt64 i = 0; i < nbNumbers; ++i) {
        numbers[i] = toNumber(pTiff, bytes.data() + i * size, size);
    }
    return numbers;
}

std::optional<StripPlaces> DirectoryChain::readStripPlaces(TIFF* pTiff, TiffStream& stream,
                                                           vlUInt64 index) const {
    Directory const& directory = _directories[index];
    Shape const& shape = _shapes[directory.shape];
    vlUInt64 const all = shape.stripOffsets.count;
    StripPlaces places = {readList(pTiff, stream, directory.stripOffsets, shape.stripOffsets, all),
                          readList(pTiff, stream, directory.stripByteCounts, shape.stripByteCounts, all)};
    bool const bWhole = places.offsets.size() == all && places.byteCounts.size() == all;
    return bWhole ? std::optional(std::move(places)) : std::nullopt;
}

bool DirectoryChain::hasValidStrips(TIFF* pTiff, TiffStream& stream, vlUInt64 index, vlUInt64 model,
                                    bool bCompressed, vlUInt64 fileSize) const {
    Directory const& directory = _directories[index];
    Shape const& shape = _shapes[directory.shape];
    if (shape.stripOffsets.count == 1) {
        vlUInt64 const offset = directory.stripOffsets.only;
        vlUInt64 const nbBytes = directory.stripByteCounts.only;
        bool const bInFile = offset <= fileSize && nbBytes <= fileSize - offset &&
                             nbBytes >= _directories[model].stripByteCounts.only;
        return offset != 0 && nbBytes != 0 && (bCompressed || bInFile);
    }
    auto const inFile = [&](NumberList const& list, NumberFormat const& format) {
        auto const size = checkedMultiply(format.count, getStripNumberSize(format.type));
        auto const end = size ? checkedAdd(list.place, *size) : std::nullopt;
        return end && *end <= fileSize;
    };
    bool const bLists = inFile(directory.stripOffsets, shape.stripOffsets) &&
                        inFile(directory.stripByteCounts, shape.stripByteCounts);
    if (!bLists || bCompressed || shape.stripOffsets.count == 2) {
        return bLists;
    }
    auto const first = readList(pTiff, stream, directory.stripByteCounts, shape.stripByteCounts, 2);
    return first.size() == 2 && first[0] == first[1];
}

vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    auto const place = findEntry(pTiff, stream, offset, tag);
    if (!place) {
        return 0;
    }
    DirectoryLayout const& layout = getDirectoryLayout(pTiff);
    vlUInt64 const type = readNumber(pTiff, stream, *place + g_tagSize, g_typeSize).value_or(0);
    vlUInt64 const size = type == TIFF_SHORT ? 2 : type == TIFF_LONG8 ? 8 : 4;
    return readNumber(pTiff, stream, *place + layout.entrySize - layout.linkSize, size).value_or(0);
}

bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag) {
    return findEntry(pTiff, stream, offset, tag).has_value();
}

} // namespace velmo::image::file
