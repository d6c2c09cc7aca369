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

/// Offsets of a file's directories, in their order. Each is searched only once.
class DirectoryChain {
  public:
    /// Offset of a directory; empty if the chain does not reach it.
    std::optional<vlUInt64> find(TIFF* pTiff, TiffStream& stream, vlUInt64 index);
    /// Number of directories. If the chain is broken (a loop, or a link outside of the file), the number that
    /// libtiff counts.
    vlUInt64 count(TIFF* pTiff, TiffStream& stream);
    /// Whether the chain is broken: a link leads outside of the file or back to an earlier directory.
    bool isBroken(TIFF* pTiff, TiffStream& stream);
    /// Drops all offsets, because directories may have moved.
    void invalidate();

  private:
    bool findNext(TIFF* pTiff, TiffStream& stream);

    std::vector<vlUInt64> _offsets;
    std::unordered_set<vlUInt64> _known;
    bool _bEnded = false;
    bool _bBroken = false;
    std::optional<vlUInt64> _count;
};

/// Finds and counts the directories of a handle. For a handle that this module opened, the offsets are stored
/// with the handle, so that finding all N directories takes N steps. For any other handle libtiff walks the
/// chain each time. Under the plain policy directory numbers have 16 bits.
class TiffDirectories {
  public:
    explicit TiffDirectories(TIFF* pTiff, eTiffPolicy policy = eTiffPolicy::Plain);

    /// Number of directories.
    vlUInt64 count() const;
    /// Whether the chain is broken after `count` directories; false for a handle that other code opened.
    bool isBroken() const;
    /// The number with which a directory is addressed: `index`, or its low 16 bits under the plain policy.
    vlUInt64 toNumber(vlUInt64 index) const;
    /// Makes directory `toNumber(index)` the current one, as it is in the file. A failure has libtiff's
    /// message; the handle then returns to its former directory, if that can still be read.
    BoolResult reach(vlUInt64 index) const;
    /// Makes the directory at an offset from `TIFFCurrentDirOffset` the current one, as it is in the file.
    /// libtiff's unwritten changes of the current directory are dropped. If the directory cannot be read, or
    /// with offset 0, the handle has no current directory. In both cases closing the handle changes nothing
    /// in the file. Without this, closing a handle that libtiff left with a partly read directory can crash.
    void reloadDirectory(vlUInt64 offset) const;
    /// Drops the stored offsets, because libtiff moved a directory in the file.
    void invalidate() const;

  private:
    TIFF* _pTiff;
    TiffStream* _pStream;
    eTiffPolicy _policy;
};

/// The value of an entry with one number, read from the directory at `offset` of the file; 0 if there is no
/// such entry.
vlUInt64 readEntryNumber(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);
/// Whether the directory at `offset` of the file has an entry of a tag.
bool hasEntry(TIFF* pTiff, TiffStream& stream, vlUInt64 offset, vlUInt64 tag);

} // namespace velmo::image::file
