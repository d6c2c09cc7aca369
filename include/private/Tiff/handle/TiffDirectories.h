// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"
#include "Tiff/handle/DirectoryChain.h"

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

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
    /// Strips of directory `toNumber(index)`, if it has the shape of the current directory, so that libtiff
    /// need not read it; otherwise empty.
    std::optional<StripPlaces> findStripsLikeCurrent(vlUInt64 index) const;
    /// Removes the shape of the directory at an offset, because libtiff may have moved its strips.
    void invalidateStrips(vlUInt64 offset) const;
    /// Drops the stored offsets, because libtiff moved a directory in the file.
    void invalidate() const;

  private:
    TIFF* _pTiff;
    TiffStream* _pStream;
    eTiffPolicy _policy;
};

} // namespace velmo::image::file
