// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/TiffTags.h"

#include "output/BinaryFile.h"
#include "output/TiffLayout.h"
#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <limits>
#include <map>
#include <tiff.h>
#include <unordered_set>
#include <vector>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_maxEntries = std::numeric_limits<std::uint16_t>::max();
constexpr std::size_t g_pieceSize = std::size_t{1} << 20;

/// Directories begin at multiples of this, and so do the values behind them.
vlUInt64 align(vlUInt64 offset) {
    return (offset + 7) / 8 * 8;
}

/// The directories of a file on their way to its end.
class TagWriter {
  public:
    TagWriter(boost::filesystem::path const& path, TiffTagEdits const& edits)
        : _file(path), _path(path), _edits(edits), _header(_file.read(0, 16)), _layout(findLayout()),
          _begin(align(_file.getSize())), _piece(_begin - _file.getSize(), '\0'), _written(_file.getSize()) {}

    void write() {
        std::size_t const link = _layout.offset; // where the header has the place of the first directory
        vlUInt64 directory = fromLittleEndian(_header, link, _layout.offset);
        if (directory == 0) {
            fail("it has no directory");
        }
        while (directory != 0) {
            throwIfInterrupted();
            directory = rewrite(directory);
        }
        writePiece();
        _file.write(link, toLittleEndian(_begin, _layout.offset));
        _file.close();
    }

  private:
    [[noreturn]] void fail(std::string const& reason) const {
        throw WorkFailure("cannot set tags of " + quoted(_path.string()) + ": " + reason);
    }
    [[noreturn]] void failAtDirectory(vlUInt64 offset, std::string const& reason) const {
        fail("the directory at byte " + std::to_string(offset) + ' ' + reason);
    }

    DirectoryLayout const& findLayout() const {
        if (_header.size() >= 8 && _header.compare(0, 4, std::string("II\x2a\0", 4)) == 0) {
            return g_classicLayout;
        }
        if (_header.size() == 16 && _header.compare(0, 8, std::string("II\x2b\0\x08\0\0\0", 8)) == 0) {
            return g_bigTiffLayout;
        }
        fail("it is not a little-endian TIFF file");
    }

    /// Part of the directory at `offset`, no further than the file went before.
    std::string readPart(vlUInt64 offset, std::size_t before, std::size_t nbBytes) const {
        vlUInt64 const size = _file.getSize();
        std::string part;
        if (offset <= size && size - offset >= before + nbBytes) {
            part = _file.read(offset + before, nbBytes);
        }
        if (part.size() != nbBytes) {
            failAtDirectory(offset, "reaches beyond the end of the file");
        }
        return part;
    }

    /// Entries in the order of their tags.
    using Entries = std::map<vlUInt64, std::string>;

    Entries readEntries(vlUInt64 offset, vlUInt64& next) const {
        vlUInt64 const nbEntries = fromLittleEndian(readPart(offset, 0, _layout.count), 0, _layout.count);
        if (nbEntries == 0 || nbEntries > g_maxEntries) {
            failAtDirectory(offset, "has " + std::to_string(nbEntries) + " entries");
        }
        std::size_t const nbBytes = nbEntries * _layout.entry;
        std::string const bytes = readPart(offset, _layout.count, nbBytes + _layout.offset);
        Entries entries;
        for (std::size_t begin = 0; begin < nbBytes; begin += _layout.entry) {
            vlUInt64 const tag = fromLittleEndian(bytes, begin, 2);
            if (!entries.empty() && entries.rbegin()->first >= tag) {
                failAtDirectory(offset, "has entries that are not in order");
            }
            entries[tag] = bytes.substr(begin, _layout.entry);
        }
        next = fromLittleEndian(bytes, nbBytes, _layout.offset);
        return entries;
    }

    /// A value to set.
    struct Value {
        vlUInt64 tag;
        vlUInt64 type;
        vlUInt64 count;
        std::string bytes;
    };

    std::vector<Value> listValues(bool bFirst) const {
        std::vector<Value> values;
        if (bFirst && !_edits.description.empty()) {
            std::string const text = _edits.description + '\0';
            values.push_back({TIFFTAG_IMAGEDESCRIPTION, TIFF_ASCII, text.size(), text});
        }
        if (_edits.resolution) {
            values.push_back({TIFFTAG_XRESOLUTION, TIFF_RATIONAL, 1, toLittleEndian(_edits.resolution->x)});
            values.push_back({TIFFTAG_YRESOLUTION, TIFF_RATIONAL, 1, toLittleEndian(_edits.resolution->y)});
            values.push_back(
                {TIFFTAG_RESOLUTIONUNIT, TIFF_SHORT, 1, toLittleEndian(_edits.resolution->unit, 2)});
        }
        return values;
    }

    /// Sets entries; values that are too wide for them go to `place`. Gives the bytes of these values.
    std::string setEntries(Entries& entries, std::vector<Value> const& values, vlUInt64 place) const {
        std::string behind;
        for (Value const& value : values) {
            std::string bytes = value.bytes;
            if (bytes.size() > _layout.offset) {
                bytes = toLittleEndian(place + behind.size(), _layout.offset);
                behind += value.bytes;
                behind.resize(align(behind.size()), '\0');
            }
            bytes.resize(_layout.offset, '\0'); // an entry is filled from the left
            entries[value.tag] = toLittleEndian(value.tag, 2) + toLittleEndian(value.type, 2) +
                                 toLittleEndian(value.count, _layout.offset) + bytes;
        }
        return behind;
    }

    vlUInt64 countBytes(Entries const& entries) const {
        return _layout.count + entries.size() * _layout.entry + _layout.offset;
    }

    /// Whether the directory that is being rewritten goes to the place of the first one. Programs that know
    /// the descriptions of ImageJ expect the pixels of all pages without gaps from the first one on if the
    /// second directory lies behind them. The first directory had more entries than the others.
    bool takesFirstPlace() const { return _found.size() == 2 && !_edits.description.empty(); }

    std::string composeDirectory(Entries const& entries, vlUInt64 next) const {
        std::string bytes = toLittleEndian(entries.size(), _layout.count);
        for (auto const& [tag, entry] : entries) {
            bytes += entry;
        }
        return bytes + toLittleEndian(next, _layout.offset);
    }

    void writeToFirstPlace(std::string const& bytes) {
        if (bytes.size() > _firstSize) {
            failAtDirectory(_firstPlace, "has no room for another one");
        }
        _file.write(_firstPlace, bytes);
    }

    /// Writes the directory at `directory` as it is to be; the place of the one behind it, or 0.
    vlUInt64 rewrite(vlUInt64 directory) {
        if (!_found.insert(directory).second) {
            failAtDirectory(directory, "comes a second time");
        }
        bool const bFirst = _found.size() == 1;
        vlUInt64 next = 0;
        Entries entries = readEntries(directory, next);
        if (bFirst) {
            _firstPlace = directory;
            _firstSize = countBytes(entries);
        }
        std::vector<Value> const values = listValues(bFirst);
        for (Value const& value : values) {
            entries[value.tag]; // counted, and set below
        }
        vlUInt64 const place = _written + _piece.size();
        vlUInt64 const nbBytes = takesFirstPlace() ? 0 : align(countBytes(entries));
        std::string const behind = setEntries(entries, values, place + nbBytes);
        vlUInt64 const end = place + nbBytes + behind.size();
        if (entries.size() > g_maxEntries || end > _layout.largestOffset) {
            failAtDirectory(directory, "has no room for further entries");
        }
        vlUInt64 const follower = bFirst && !_edits.description.empty() ? _firstPlace : end;
        std::string const bytes = composeDirectory(entries, next == 0 ? 0 : follower);
        if (takesFirstPlace()) {
            writeToFirstPlace(bytes);
        } else {
            _piece += bytes;
            _piece.resize(place + nbBytes - _written, '\0');
        }
        _piece += behind;
        if (_piece.size() >= g_pieceSize) {
            writePiece();
        }
        return next;
    }

    void writePiece() {
        _file.write(_written, _piece);
        _written += _piece.size();
        _piece.clear();
    }

    BinaryFile _file;
    boost::filesystem::path const& _path;
    TiffTagEdits const& _edits;
    std::string const _header;
    DirectoryLayout const& _layout;
    vlUInt64 const _begin;    ///< of the first directory written
    std::string _piece;       ///< what is to be written next
    vlUInt64 _written;        ///< where it is written to
    vlUInt64 _firstPlace = 0; ///< of the first directory before
    vlUInt64 _firstSize = 0;
    std::unordered_set<vlUInt64> _found;
};

} // namespace

void setTiffTags(boost::filesystem::path const& path, TiffTagEdits const& edits) {
    if (!edits.isEmpty()) {
        TagWriter(path, edits).write();
    }
}

} // namespace velmo::tool
