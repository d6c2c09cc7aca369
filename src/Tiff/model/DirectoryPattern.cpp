// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/DirectoryPattern.h"

#include "Tiff/handle/DirectoryLayout.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <array>
#include <cstring>

namespace velmo::image::file {

namespace {

/// A longer directory or longer strips have no pattern: their copies would need too much memory.
constexpr vlUInt64 g_largestPart = vlUInt64{1} << 20;

/// libtiff begins directories and values at even offsets.
vlUInt64 roundUpToEven(vlUInt64 offset) {
    return offset + offset % 2;
}

std::string readBytes(TiffStream& stream, vlUInt64 begin, vlUInt64 end) {
    bool const bRead = begin < end && end - begin <= g_largestPart;
    std::string bytes(bRead ? end - begin : 0, '\0');
    return stream.readAt(begin, bytes.data(), bytes.size()) == bytes.size() ? bytes : std::string();
}

unsigned char const* toBytes(std::string const& bytes, vlUInt64 place) {
    return reinterpret_cast<unsigned char const*>(bytes.data()) + place;
}

void clear(std::string& bytes, vlUInt64 place, vlUInt64 nbBytes) {
    bytes.replace(place, nbBytes, nbBytes, '\0');
}

} // namespace

void storeOffset(TIFF* pTiff, vlUInt64 offset, char* pTarget) {
    auto const small = static_cast<std::uint32_t>(offset);
    bool const bBig = TIFFIsBigTIFF(pTiff) != 0;
    std::memcpy(pTarget, bBig ? static_cast<void const*>(&offset) : &small,
                bBig ? sizeof(offset) : sizeof(small));
}

/// Takes the bytes of a directory apart. What differs between pages is set to zero.
class DirectoryPattern::Reader {
  public:
    Reader(TIFF* pTiff, PageExtent const& extent, PageLabel const& label, DirectoryPattern& pattern)
        : _pTiff(pTiff), _layout(getDirectoryLayout(pTiff)), _extent(extent), _label(label),
          _pattern(pattern) {}

    /// `bytes`: the directory and its values.
    bool run(std::string const& bytes) {
        vlUInt64 const nbEntries =
            bytes.size() < _layout.countSize ? 0 : toNumber(_pTiff, toBytes(bytes, 0), _layout.countSize);
        vlUInt64 const linkPlace = _layout.countSize + nbEntries * _layout.entrySize;
        if (nbEntries > bytes.size() / _layout.entrySize || linkPlace + _layout.linkSize > bytes.size()) {
            return false;
        }
        _pattern._linkPlace = linkPlace;
        _pattern._directory = bytes.substr(0, linkPlace + _layout.linkSize);
        return readValues(bytes, nbEntries) && readEntries(nbEntries);
    }

  private:
    DirectoryEntry getEntry(vlUInt64 index) const {
        return DirectoryEntry::read(_pTiff, toBytes(_pattern._directory, getPlace(index)));
    }
    vlUInt64 getPlace(vlUInt64 entry) const { return _layout.countSize + entry * _layout.entrySize; }

    /// Finds the values outside of the directory, and requires that they follow it without gaps.
    bool readValues(std::string const& bytes, vlUInt64 nbEntries) {
        struct Found {
            vlUInt64 begin;
            vlUInt64 size;
            vlUInt64 entry;
        };
        std::vector<Found> found;
        for (vlUInt64 index = 0; index < nbEntries; ++index) {
            DirectoryEntry const entry = getEntry(index);
            auto const size = checkedMultiply(entry.count, entry.getNumberSize());
            if (!size || *size == 0 || *size > bytes.size()) {
                return false;
            }
            if (*size > _layout.linkSize) {
                found.push_back({toNumber(_pTiff, entry.pValue, _layout.linkSize), *size, index});
            }
        }
        std::sort(found.begin(), found.end(),
                  [](Found const& a, Found const& b) { return a.begin < b.begin; });
        vlUInt64 end = _pattern._directory.size();
        _valueOf.assign(nbEntries, s_inside);
        for (Found const& value : found) {
            vlUInt64 const begin = roundUpToEven(end);
            end = begin + value.size;
            if (value.begin != _extent.directory + begin || end > bytes.size()) {
                return false;
            }
            vlUInt64 const place = getPlace(value.entry) + _layout.getHeadSize();
            _valueOf[value.entry] = _pattern._values.size();
            _pattern._values.push_back({place, bytes.substr(begin, value.size)});
            clear(_pattern._directory, place, _layout.linkSize);
        }
        return end == bytes.size() && found.size() <= s_mostValues;
    }

    bool readEntries(vlUInt64 nbEntries) {
        bool bExpected = true;
        for (vlUInt64 index = 0; bExpected && index < nbEntries; ++index) {
            bExpected = readEntry(index);
        }
        clear(_pattern._directory, _pattern._linkPlace, _layout.linkSize);
        return bExpected && !_pattern._stripOffsets.empty() && _pattern._name != s_inside &&
               _pattern._numberPlace != 0;
    }

    bool readEntry(vlUInt64 index) {
        DirectoryEntry const entry = getEntry(index);
        bool const bInside = _valueOf[index] == s_inside;
        vlUInt64 const valuePlace = getPlace(index) + _layout.getHeadSize();
        Place const place = {_valueOf[index], bInside ? valuePlace : 0};
        switch (entry.tag) {
        case TIFFTAG_STRIPOFFSETS:
            _pattern._stripOffsetList = place;
            return readStripOffsets(place, entry);
        case TIFFTAG_STRIPBYTECOUNTS:
            _pattern._byteCountList = place;
            return true;
        case TIFFTAG_PAGENUMBER:
            return bInside && readNumber(valuePlace, entry);
        case TIFFTAG_PAGENAME:
            return !bInside && readName(_valueOf[index], getPlace(index));
        default:
            return true;
        }
    }

    bool readNumber(vlUInt64 place, DirectoryEntry const& entry) {
        bool const bExpected = entry.type == TIFF_SHORT &&
                               toNumber(_pTiff, entry.pValue, sizeof(_label.number)) == _label.number;
        _pattern._numberPlace = place;
        clear(_pattern._directory, place, sizeof(_label.number));
        return bExpected;
    }

    bool readName(std::size_t value, vlUInt64 entryPlace) {
        std::string& bytes = _pattern._values[value].bytes;
        bool const bExpected =
            bytes.compare(0, bytes.size(), _label.name.c_str(), _label.name.size() + 1) == 0;
        bytes.clear();
        _pattern._name = value;
        _pattern._nameCountPlace = entryPlace + g_tagSize + g_typeSize;
        clear(_pattern._directory, _pattern._nameCountPlace, _layout.linkSize);
        return bExpected;
    }

    bool readStripOffsets(Place const& list, DirectoryEntry const& entry) {
        std::string& bytes =
            list.value == s_inside ? _pattern._directory : _pattern._values[list.value].bytes;
        bool bExpected = entry.getNumberSize() == _layout.linkSize;
        for (vlUInt64 strip = 0; bExpected && strip < entry.count; ++strip) {
            vlUInt64 const place = list.offset + strip * _layout.linkSize;
            vlUInt64 const offset = toNumber(_pTiff, toBytes(bytes, place), _layout.linkSize);
            bExpected = offset >= _extent.strips && offset < _extent.stripsEnd;
            _pattern._stripOffsets.push_back({{list.value, place}, offset - _extent.strips});
            clear(bytes, place, _layout.linkSize);
        }
        return bExpected;
    }

    TIFF* _pTiff;
    DirectoryLayout const& _layout;
    PageExtent const& _extent;
    PageLabel const& _label;
    DirectoryPattern& _pattern;
    std::vector<std::size_t> _valueOf; ///< of each entry: index into `_values`, or `s_inside`
};

std::optional<DirectoryPattern> DirectoryPattern::read(TIFF* pTiff, TiffStream& stream,
                                                       PageExtent const& extent, PageLabel const& label,
                                                       bool bZeros) {
    DirectoryPattern pattern;
    pattern._pTiff = pTiff;
    pattern._stripsSize = extent.stripsEnd - extent.strips;
    if (!bZeros) {
        pattern._strips = readBytes(stream, extent.strips, extent.stripsEnd);
    }
    bool const bExpected =
        extent.directory == roundUpToEven(extent.stripsEnd) &&
        (bZeros || pattern._strips.size() == pattern._stripsSize) &&
        Reader(pTiff, extent, label, pattern).run(readBytes(stream, extent.directory, extent.end));
    return bExpected ? std::optional(std::move(pattern)) : std::nullopt;
}

AppendedDirectory DirectoryPattern::appendDirectory(vlUInt64 strips, vlUInt64 directory,
                                                    PageLabel const& label, std::string& bytes) const {
    vlUInt64 const begin = bytes.size();
    bytes += _directory;
    std::array<vlUInt64, s_mostValues> valuePlaces;
    for (std::size_t value = 0; value < _values.size(); ++value) {
        bytes.append((bytes.size() - begin) % 2, '\0');
        valuePlaces[value] = bytes.size() - begin;
        storeOffset(_pTiff, directory + valuePlaces[value], bytes.data() + begin + _values[value].place);
        value == _name ? bytes.append(label.name.c_str(), label.name.size() + 1)
                       : bytes.append(_values[value].bytes);
    }
    auto const find = [&](Place const& place) {
        return (place.value == s_inside ? 0 : valuePlaces[place.value]) + place.offset;
    };
    storeOffset(_pTiff, label.name.size() + 1, bytes.data() + begin + _nameCountPlace);
    std::memcpy(bytes.data() + begin + _numberPlace, &label.number, sizeof(label.number));
    for (StripOffset const& offset : _stripOffsets) {
        storeOffset(_pTiff, strips + offset.distance, bytes.data() + begin + find(offset.place));
    }
    return {directory, strips, directory + find(_stripOffsetList), directory + find(_byteCountList)};
}

bool DirectoryPattern::operator==(DirectoryPattern const& other) const {
    return _strips == other._strips && _stripsSize == other._stripsSize && _directory == other._directory &&
           _values == other._values && _linkPlace == other._linkPlace && _numberPlace == other._numberPlace &&
           _nameCountPlace == other._nameCountPlace && _name == other._name &&
           _stripOffsets == other._stripOffsets;
}

} // namespace velmo::image::file
