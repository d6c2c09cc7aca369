// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/DirectoryChain.h"

#include <cstdint>
#include <string>

namespace velmo::image::file {

/// Stores an offset as it is in a new file, which has the byte order of the machine.
void storeOffset(TIFF* pTiff, vlUInt64 offset, char* pTarget);

/// Offsets of a page in a file: the strips, and behind them the directory with its values.
struct PageExtent {
    vlUInt64 strips;
    vlUInt64 stripsEnd;
    vlUInt64 directory;
    vlUInt64 end;
};

/// What differs between the directories of new pages.
struct PageLabel {
    std::uint16_t number;
    std::string name;
};

/// The bytes of a page that libtiff wrote to a new file, from which the bytes of further pages follow. The
/// pages have the same tags and values, except for offsets, PageNumber and PageName. The strips of each page
/// contain the same bytes.
class DirectoryPattern {
  public:
    /// Reads the last page of the file. If `bZeros`, its strips contain zeros and are not read. Empty if the
    /// page does not have the expected layout: the directory, then those of its values that do not fit into
    /// it, PageName among them, one after the other at even offsets.
    static std::optional<DirectoryPattern> read(TIFF* pTiff, TiffStream& stream, PageExtent const& extent,
                                                PageLabel const& label, bool bZeros);

    vlUInt64 getStripsSize() const { return _stripsSize; }
    bool hasZeros() const { return _strips.empty(); }
    /// The bytes of the strips; empty if they are zeros.
    std::string const& getStrips() const { return _strips; }
    /// Distance of the link to the next directory from the directory.
    vlUInt64 getLinkPlace() const { return _linkPlace; }

    /// Appends the bytes of the directory that is at `directory` in the file and has its strips from `strips`
    /// on, with its values. The link to the next directory is 0.
    AppendedDirectory appendDirectory(vlUInt64 strips, vlUInt64 directory, PageLabel const& label,
                                      std::string& bytes) const;

    bool operator==(DirectoryPattern const& other) const;

  private:
    /// A place in the directory, or in one of its values.
    struct Place {
        std::size_t value = s_inside; ///< index into `_values`, or `s_inside`
        vlUInt64 offset = 0;
        bool operator==(Place const& other) const { return value == other.value && offset == other.offset; }
    };
    struct StripOffset {
        Place place;
        vlUInt64 distance; ///< from the first strip
        bool operator==(StripOffset const& other) const {
            return place == other.place && distance == other.distance;
        }
    };
    struct Value {
        vlUInt64 place; ///< of its offset in the directory
        std::string bytes;
        bool operator==(Value const& other) const { return place == other.place && bytes == other.bytes; }
    };
    class Reader;
    static constexpr std::size_t s_inside = static_cast<std::size_t>(-1);
    static constexpr std::size_t s_mostValues = 16;

    std::string _strips;
    vlUInt64 _stripsSize = 0;
    TIFF* _pTiff = nullptr;
    std::string _directory;
    std::vector<Value> _values; ///< in their order in the file
    vlUInt64 _linkPlace = 0;
    vlUInt64 _numberPlace = 0;    ///< of PageNumber
    vlUInt64 _nameCountPlace = 0; ///< of the number of characters of PageName
    std::size_t _name = s_inside; ///< index into `_values`
    Place _stripOffsetList;
    Place _byteCountList;
    std::vector<StripOffset> _stripOffsets;
};

} // namespace velmo::image::file
