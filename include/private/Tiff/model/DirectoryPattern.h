// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

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
/// pages have the same tags and values, except for offsets, PageNumber and the characters of PageName. The
/// strips of each page contain the same bytes.
class DirectoryPattern {
  public:
    /// Reads the last page of the file. If `bZeros`, its strips contain zeros and are not read. Empty if the
    /// file does not have the expected layout.
    static std::optional<DirectoryPattern> read(TIFF* pTiff, TiffStream& stream, PageExtent const& extent,
                                                PageLabel const& label, bool bZeros);

    /// The extent of a page whose strips begin at an offset.
    PageExtent getExtent(vlUInt64 strips) const;
    /// The bytes of the strips; empty if they are zeros.
    std::string const& getStrips() const { return _strips; }
    /// Appends the bytes of a directory and its values. The link to the next directory is 0. The name has as
    /// many characters as that of the page that was read.
    void appendDirectory(PageExtent const& extent, PageLabel const& label, std::string& bytes) const;
    bool hasZeros() const { return _strips.empty(); }
    /// Distance of the link from the directory.
    vlUInt64 getLinkPlace() const { return _linkPlace; }

    bool operator==(DirectoryPattern const& other) const;

  private:
    /// An offset in the directory: where it is, and its distance from the strips or from the directory.
    struct Offset {
        vlUInt64 place;
        vlUInt64 distance;
        bool bOfStrip;
        bool operator==(Offset const& other) const {
            return place == other.place && distance == other.distance && bOfStrip == other.bOfStrip;
        }
    };
    class Reader;

    std::string _strips;
    vlUInt64 _stripsSize = 0;
    std::string _bytes; ///< of the directory and its values
    TIFF* _pTiff = nullptr;
    vlUInt64 _linkPlace = 0;
    vlUInt64 _numberPlace = 0; ///< of PageNumber
    vlUInt64 _namePlace = 0;   ///< of PageName
    std::vector<Offset> _offsets;
};

} // namespace velmo::image::file
