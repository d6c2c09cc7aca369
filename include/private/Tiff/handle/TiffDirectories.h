// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>
#include <optional>
#include <unordered_set>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// Offsets of a file's directories, in their order, found once.
class DirectoryChain {
  public:
    /// Where a directory lies; empty where the chain does not reach it.
    std::optional<vlUInt64> find(TIFF* pTiff, TiffStream& stream, vlUInt64 index);
    /// How many there are; of a chain that breaks off, in a loop or outside of the file, as libtiff counts.
    vlUInt64 count(TIFF* pTiff, TiffStream& stream);
    /// Whether it breaks off: a link leads outside of the file or back to a directory before.
    bool isBroken(TIFF* pTiff, TiffStream& stream);
    /// Directories may lie elsewhere from now on.
    void invalidate();

  private:
    bool findNext(TIFF* pTiff, TiffStream& stream);

    std::vector<vlUInt64> _offsets;
    std::unordered_set<vlUInt64> _known;
    bool _bEnded = false;
    bool _bBroken = false;
    std::optional<vlUInt64> _count;
};

/// How a directory of a handle is reached and counted. What was seen once of a handle that this module opened
/// is remembered with it, so that all N directories cost N steps; of any other handle libtiff walks the chain
/// each time. Under the plain policy directories have numbers of 16 bits.
class TiffDirectories {
  public:
    explicit TiffDirectories(TIFF* pTiff, eTiffPolicy policy = eTiffPolicy::Plain);

    /// How many there are.
    vlUInt64 count() const;
    /// Whether the chain breaks off behind as many as `count` says; false for a handle of somebody else.
    bool isBroken() const;
    /// The number by which a directory is addressed.
    vlUInt64 toNumber(vlUInt64 index) const;
    /// Makes directory `toNumber(index)` the current one, as it stands in the file. A failure has libtiff's
    /// text, and the handle stands where it stood, if that can still be read.
    BoolResult reach(vlUInt64 index) const;
    /// Goes to the directory at an offset that `TIFFCurrentDirOffset` gave, as it stands in the file: what
    /// libtiff has in memory and has not written is dropped. Where it cannot be read, or with offset 0, the
    /// handle stands on none. Either way closing the handle changes nothing; a handle that libtiff leaves
    /// half way through a directory may crash there.
    void reloadDirectory(vlUInt64 offset) const;
    /// Finds the directories anew from now on: libtiff moved one in the file.
    void invalidate() const;

  private:
    TIFF* _pTiff;
    TiffStream* _pStream;
    eTiffPolicy _policy;
};

/// The number of an entry of one number, as the directory at `offset` has it in the file; 0 where it has none
/// of that tag.
vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);
/// Whether the directory at `offset` has an entry of a tag in the file.
bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);

} // namespace velmo::image::file
