// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// Offsets and byte counts of the strips of a directory in the file.
struct StripPlaces {
    std::vector<vlUInt64> offsets;
    std::vector<vlUInt64> byteCounts;
};

/// Offsets of a directory that was appended to a file.
struct AppendedDirectory {
    vlUInt64 directory;
    vlUInt64 firstStrip;
    vlUInt64 stripOffsets;    ///< offset of the list
    vlUInt64 stripByteCounts; ///< offset of the list
};

/// The directories of a file in their order. They are read once and without libtiff.
///
/// Directories of one *shape* have the same tags with the same values, except for the offsets and byte counts
/// of their strips, page numbers, and texts that this module does not use. What libtiff returns for one of
/// them is valid for all of them.
class DirectoryChain {
  public:
    /// Offset of a directory; empty if the chain does not reach it.
    std::optional<vlUInt64> find(TIFF* pTiff, TiffStream& stream, vlUInt64 index);
    /// The same after directories were appended to the file.
    std::optional<vlUInt64> findAppended(TIFF* pTiff, TiffStream& stream, vlUInt64 index);
    /// Adds a directory that was appended to the file without libtiff. It has the shape of `model`, a
    /// directory of this chain, and its strips have the same sizes.
    void append(AppendedDirectory const& appended, vlUInt64 model);
    /// Number of directories. If the chain is broken (a loop, or a link outside of the file), the number that
    /// libtiff counts.
    vlUInt64 count(TIFF* pTiff, TiffStream& stream);
    /// Whether the chain is broken: a link leads outside of the file or back to an earlier directory.
    bool isBroken(TIFF* pTiff, TiffStream& stream);
    /// Drops all stored directories, because directories may have moved.
    void invalidate();
    /// From now on no directory has a shape, so that libtiff reads each of them. Tests compare both ways.
    void disableShapes();

    /// Removes the shape of the directory at an offset, because its strips may have moved.
    void invalidateStrips(vlUInt64 offset);
    /// Index of the directory at an offset; empty if it was not found yet.
    std::optional<vlUInt64> findIndex(vlUInt64 offset) const;
    /// Number of the shape of a directory that was found; empty if it has no shape and libtiff must read it.
    std::optional<vlUInt64> findShape(vlUInt64 index) const;
    /// Strips of a directory that was found and has a shape; empty if their lists are not in the file.
    std::optional<StripPlaces> readStripPlaces(TIFF* pTiff, TiffStream& stream, vlUInt64 index) const;
    /// Whether libtiff would accept the strips of a directory without a message, if it did so for `model`, a
    /// directory of the same shape.
    bool hasValidStrips(TIFF* pTiff, TiffStream& stream, vlUInt64 index, vlUInt64 model, bool bCompressed,
                        vlUInt64 fileSize) const;

  private:
    /// The numbers of an entry.
    struct NumberList {
        vlUInt64 place = 0; ///< offset of the first one in the file
        vlUInt64 only = 0;  ///< the value, if there is only one
    };
    struct Directory {
        vlUInt64 offset;
        std::size_t shape; ///< index into `_shapes`, or `s_noShape`
        NumberList stripOffsets;
        NumberList stripByteCounts;
    };
    struct NumberFormat {
        vlUInt64 type = 0;
        vlUInt64 count = 0;
    };
    struct Shape {
        std::string bytes;
        NumberFormat stripOffsets;
        NumberFormat stripByteCounts;
    };
    class Reader;
    static constexpr std::size_t s_noShape = static_cast<std::size_t>(-1);

    bool findNext(TIFF* pTiff, TiffStream& stream);
    std::size_t keepShape(Shape&& shape);
    static std::vector<vlUInt64> readList(TIFF* pTiff, TiffStream& stream, NumberList const& list,
                                          NumberFormat const& format, vlUInt64 nbWanted);

    std::vector<Directory> _directories;
    std::unordered_map<vlUInt64, vlUInt64> _indexes; ///< by offset
    std::vector<Shape> _shapes;
    std::optional<vlUInt64> _link; ///< offset of the next directory; empty if it cannot be read
    bool _bComparing = true;
    bool _bEnded = false;
    bool _bBroken = false;
    std::optional<vlUInt64> _count;
};

/// The value of an entry with one number, read from the directory at `offset` of the file; 0 if there is no
/// such entry.
vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);
/// Whether the directory at `offset` of the file has an entry of a tag.
bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);

} // namespace velmo::image::file
