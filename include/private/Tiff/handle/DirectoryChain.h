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

/// Where the strips of a directory lie in the file, and how many bytes each of them has there.
struct StripPlaces {
    std::vector<vlUInt64> offsets;
    std::vector<vlUInt64> byteCounts;
};

/// The directories of a file in their order, read once and without libtiff.
///
/// Directories of one *shape* have the same tags with the same values, except for the places of their strips,
/// page numbers and texts that nothing in this module reads. What libtiff answers about one of them holds for
/// all of them.
class DirectoryChain {
  public:
    /// Offset of a directory; empty where the chain does not reach it.
    std::optional<vlUInt64> find(TIFF* pTiff, TiffStream& stream, vlUInt64 index);
    /// Number of directories; for a chain that breaks off, in a loop or outside of the file, as libtiff
    /// counts.
    vlUInt64 count(TIFF* pTiff, TiffStream& stream);
    /// Whether the chain breaks off: a link leads outside of the file or back to an earlier directory.
    bool isBroken(TIFF* pTiff, TiffStream& stream);
    /// Drops what is known: directories may lie elsewhere from now on.
    void forget();
    /// Gives no directory a shape from now on, so that libtiff reads each of them: the way to compare with.
    void leaveToLibtiff();

    /// Takes the shape from the directory at an offset: its strips may lie elsewhere from now on.
    void forgetStrips(vlUInt64 offset);
    /// The directory at an offset, among those found so far.
    std::optional<vlUInt64> findIndex(vlUInt64 offset) const;
    /// The number of a found directory's shape; empty for a directory that only libtiff can judge.
    std::optional<vlUInt64> findShape(vlUInt64 index) const;
    /// The strips of a found directory that has a shape; empty where the file does not hold the lists of
    /// them.
    std::optional<StripPlaces> readStripPlaces(TIFF* pTiff, TiffStream& stream, vlUInt64 index) const;
    /// Whether libtiff would accept the strips of a directory without a message, given that it did so for
    /// `model`, which has the same shape.
    bool hasSoundStrips(TIFF* pTiff, TiffStream& stream, vlUInt64 index, vlUInt64 model, bool bCompressed,
                        vlUInt64 fileSize) const;

  private:
    /// Numbers of an entry.
    struct NumberList {
        vlUInt64 place = 0; ///< offset of the first one in the file
        vlUInt64 only = 0;  ///< the value, of a list of one
    };
    struct Directory {
        vlUInt64 offset;
        std::size_t shape; ///< index into the shapes; `s_noShape`
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
    std::optional<vlUInt64> _link; ///< behind the last directory; empty where it cannot be read
    bool _bComparing = true;
    bool _bEnded = false;
    bool _bBroken = false;
    std::optional<vlUInt64> _count;
};

/// The number of an entry of one number, as the directory at `offset` has it in the file; 0 where it has none
/// of that tag.
vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);
/// Whether the directory at `offset` has an entry of a tag in the file.
bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);

} // namespace velmo::image::file
