// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <unordered_map>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// Goes through the directories behind the current one, to the end of the chain or to a directory that
/// libtiff cannot read. A directory is read by libtiff unless one of the same shape was read before and
/// accepted. Afterwards the handle may stand on any directory or on none.
class DirectoryWalk {
  public:
    /// The handle stands on the first directory.
    explicit DirectoryWalk(TIFF* pTiff);

    /// Goes to the next directory; false behind the last one.
    bool goOn();
    /// Offset of the last directory that was reached.
    vlUInt64 getOffset() const { return _offset; }
    /// The number of an accepted directory about which libtiff would answer the same as about this one; the
    /// handle does not stand on this one then. Empty where libtiff has read this one.
    std::optional<vlUInt64> getModel() const { return _model; }
    /// Accepts the directory that libtiff has read as a model of later ones, unless libtiff reported
    /// something.
    void accept();

  private:
    struct Model {
        vlUInt64 index;
        bool bCompressed;
    };

    bool readNext();

    TIFF* _pTiff;
    TiffStream* _pStream; ///< null where libtiff reads each directory
    vlUInt64 _index = 0;
    vlUInt64 _offset;
    vlUInt64 _fileSize = 0;
    vlUInt64 _nbMessages = 0;
    std::optional<vlUInt64> _model;
    std::unordered_map<vlUInt64, Model> _models; ///< by shape
};

} // namespace velmo::image::file
