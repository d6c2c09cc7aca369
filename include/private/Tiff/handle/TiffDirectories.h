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
    void goBack(vlUInt64 offset) const;
    /// The strips of directory `toNumber(index)`, given that the current directory has its shape, so that
    /// libtiff need not go there; empty where it must.
    std::optional<StripPlaces> findStripsLikeCurrent(vlUInt64 index) const;
    /// Leaves the directory at an offset to libtiff from now on: libtiff may have moved its strips.
    void forgetStrips(vlUInt64 offset) const;
    /// Finds the directories anew from now on: libtiff moved one in the file.
    void forget() const;

  private:
    TIFF* _pTiff;
    TiffStream* _pStream;
    eTiffPolicy _policy;
};

} // namespace velmo::image::file
