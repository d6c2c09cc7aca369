// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/DirectoryPattern.h"

#include "Tiff/handle/DirectoryLayout.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <cstring>

namespace velmo::image::file {

namespace {

/// A longer directory or longer strips have no pattern: copies of them would fill the memory.
constexpr vlUInt64 g_largestPart = vlUInt64{1} << 20;

/// libtiff begins directories at even offsets.
vlUInt64 roundUpToEven(vlUInt64 offset) {
    return offset + offset % 2;
}

std::string readBytes(TiffStream& stream, vlUInt64 begin, vlUInt64 end) {
    bool const bRead = begin < end && end - begin <= g_largestPart;
    std::string bytes(bRead ? end - begin : 0, '\0');
    return stream.readAt(begin, bytes.data(), bytes.size()) == bytes.size() ? bytes : std::string();
}

} // namespace

void storeOffset(TIFF* pTiff, vlUInt64 offset, char* pTarget) {
    auto const small = static_cast<std::uint32_t>(offset);
    bool const bBig = TIFFIsBigTIFF(pTiff) != 0;
    std::memcpy(pTarget, bBig ? static_cast<void const*>(&offset) : &small,
                bBig ? sizeof(offset) : sizeof(small));
}

/// Finds what differs between pages in the bytes of a directory, and sets it to zero.
class DirectoryPattern::Reader {
  public:
    Reader(TIFF* pTiff, PageExtent const& extent, PageLabel const& label, DirectoryPattern& pattern)
        : _pTiff(pTiff), _layout(getDirectoryLayout(pTiff)), _extent(extent), _label(label),
          _pattern(pattern), _bytes(pattern._bytes) {}

    bool run() {
        vlUInt64 const nbEntries =
            _bytes.size() < _layout.countSize ? 0 : toNumber(_pTiff, getBytes(0), _layout.countSize);
        if (nbEntries > _bytes.size() / _layout.entrySize) {
            return false;
        }
        _pattern._linkPlace = _layout.countSize + nbEntries * _layout.entrySize;
        if (_pattern._linkPlace + _layout.linkSize > _bytes.size()) {
            return false;
        }
        bool bExpected = true;
        for (vlUInt64 entry = 0; bExpected && entry < nbEntries; ++entry) {
            bExpected = readEntry(_layout.countSize + entry * _layout.entrySize);
        }
        return bExpected && _bStrips && _pattern._namePlace != 0 && _pattern._numberPlace != 0;
    }

    /// Call it after `run`.
    void clearDifferences() {
        for (Offset const& offset : _pattern._offsets) {
            _bytes.replace(offset.place, _layout.linkSize, _layout.linkSize, '\0');
        }
        _bytes.replace(_pattern._linkPlace, _layout.linkSize, _layout.linkSize, '\0');
        _bytes.replace(_pattern._numberPlace, sizeof(_label.number), sizeof(_label.number), '\0');
        _bytes.replace(_pattern._namePlace, _label.name.size(), _label.name.size(), '\0');
    }

  private:
    unsigned char const* getBytes(vlUInt64 place) const {
        return reinterpret_cast<unsigned char const*>(_bytes.data()) + place;
    }

    bool readEntry(vlUInt64 entryPlace) {
        DirectoryEntry const entry = DirectoryEntry::read(_pTiff, getBytes(entryPlace));
        auto const size = checkedMultiply(entry.count, entry.getNumberSize());
        vlUInt64 place = entryPlace + _layout.getHeadSize();
        if (!size || *size == 0) {
            return false;
        }
        if (*size > _layout.linkSize) {
            vlUInt64 const offset = toNumber(_pTiff, entry.pValue, _layout.linkSize);
            bool const bInside =
                offset >= _extent.directory && offset <= _extent.end && *size <= _extent.end - offset;
            if (!bInside) {
                return false;
            }
            _pattern._offsets.push_back({place, offset - _extent.directory, false});
            place = offset - _extent.directory;
        }
        switch (entry.tag) {
        case TIFFTAG_STRIPOFFSETS:
            return readStripOffsets(place, entry);
        case TIFFTAG_PAGENUMBER:
            _pattern._numberPlace = place;
            return entry.type == TIFF_SHORT && toNumber(_pTiff, getBytes(place), 2) == _label.number;
        case TIFFTAG_PAGENAME:
            _pattern._namePlace = place;
            return *size == _label.name.size() + 1 &&
                   _bytes.compare(place, *size, _label.name.c_str(), *size) == 0;
        default:
            return true;
        }
    }

    bool readStripOffsets(vlUInt64 place, DirectoryEntry const& entry) {
        _bStrips = entry.getNumberSize() == _layout.linkSize;
        for (vlUInt64 strip = 0; _bStrips && strip < entry.count; ++strip) {
            vlUInt64 const numberPlace = place + strip * _layout.linkSize;
            vlUInt64 const offset = toNumber(_pTiff, getBytes(numberPlace), _layout.linkSize);
            _bStrips = offset >= _extent.strips && offset < _extent.stripsEnd;
            _pattern._offsets.push_back({numberPlace, offset - _extent.strips, true});
        }
        return _bStrips;
    }

    TIFF* _pTiff;
    DirectoryLayout const& _layout;
    PageExtent const& _extent;
    PageLabel const& _label;
    DirectoryPattern& _pattern;
    std::string& _bytes;
    bool _bStrips = false;
};

std::optional<DirectoryPattern> DirectoryPattern::read(TIFF* pTiff, TiffStream& stream,
                                                       PageExtent const& extent, PageLabel const& label,
                                                       bool bZeros) {
    DirectoryPattern pattern;
    pattern._pTiff = pTiff;
    pattern._stripsSize = extent.stripsEnd - extent.strips;
    pattern._bytes = readBytes(stream, extent.directory, extent.end);
    if (!bZeros) {
        pattern._strips = readBytes(stream, extent.strips, extent.stripsEnd);
    }
    Reader reader(pTiff, extent, label, pattern);
    bool const bExpected = extent.directory == roundUpToEven(extent.stripsEnd) &&
                           (bZeros || pattern._strips.size() == pattern._stripsSize) && reader.run();
    if (!bExpected) {
        return std::nullopt;
    }
    reader.clearDifferences();
    return pattern;
}

PageExtent DirectoryPattern::getExtent(vlUInt64 strips) const {
    vlUInt64 const stripsEnd = strips + _stripsSize;
    vlUInt64 const directory = roundUpToEven(stripsEnd);
    return {strips, stripsEnd, directory, directory + _bytes.size()};
}

void DirectoryPattern::appendDirectory(PageExtent const& extent, PageLabel const& label,
                                       std::string& bytes) const {
    vlUInt64 const begin = bytes.size();
    bytes += _bytes;
    for (Offset const& offset : _offsets) {
        vlUInt64 const base = offset.bOfStrip ? extent.strips : extent.directory;
        storeOffset(_pTiff, base + offset.distance, bytes.data() + begin + offset.place);
    }
    std::memcpy(bytes.data() + begin + _numberPlace, &label.number, sizeof(label.number));
    bytes.replace(begin + _namePlace, label.name.size(), label.name);
}

bool DirectoryPattern::operator==(DirectoryPattern const& other) const {
    return _strips == other._strips && _stripsSize == other._stripsSize && _bytes == other._bytes &&
           _linkPlace == other._linkPlace && _numberPlace == other._numberPlace &&
           _namePlace == other._namePlace && _offsets == other._offsets;
}

} // namespace velmo::image::file
