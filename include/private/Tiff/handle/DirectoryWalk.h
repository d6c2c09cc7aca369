// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <unordered_map>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// Iterates over the directories after the current one, up to the end of the chain or to a directory that
/// libtiff cannot read. libtiff reads a directory unless one of the same shape was read before and accepted.
/// Afterwards the handle has any or no current directory.
class DirectoryWalk {
  public:
    /// The current directory must be the first one.
    explicit DirectoryWalk(TIFF* pTiff);

    /// Goes to the next directory; false after the last one.
    bool next();
    /// Offset of the last directory that was reached.
    vlUInt64 getOffset() const { return _offset; }
    /// Index of an accepted directory for which libtiff would return the same values as for this one; this
    /// one is then not the current directory of the handle. Empty if libtiff has read this one.
    std::optional<vlUInt64> getModel() const { return _model; }
    /// Accepts the directory that libtiff has read as a model of later ones, unless libtiff reported a
    /// message for it.
    void accept();

  private:
    struct Model {
        vlUInt64 index;
        bool bCompressed;
    };

    bool readNext();

    TIFF* _pTiff;
    TiffStream* _pStream; ///< null if libtiff reads each directory
    vlUInt64 _index = 0;
    vlUInt64 _offset;
    vlUInt64 _fileSize = 0;
    vlUInt64 _nbMessages = 0;
    std::optional<vlUInt64> _model;
    std::unordered_map<vlUInt64, Model> _models; ///< by shape
};

} // namespace velmo::image::file
