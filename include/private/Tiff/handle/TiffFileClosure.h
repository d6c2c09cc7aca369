// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <utility>

using TIFF = struct tiff;

namespace velmo::image::file {

/// Closes a handle at the end of a scope and sets it to null, unless `disarm` was called. Keeps a reference
/// to the caller's handle. Never throws: an exception of the close is logged.
class TiffFileClosure {
  public:
    TiffFileClosure(std::string filePath, TIFF*& pTiff) : _filePath(std::move(filePath)), _pTiff(pTiff) {}
    ~TiffFileClosure();
    TiffFileClosure(TiffFileClosure const&) = delete;
    TiffFileClosure& operator=(TiffFileClosure const&) = delete;

    void disarm() { _bClose = false; }

  private:
    bool _bClose = true;
    std::string _filePath;
    TIFF*& _pTiff;
};

} // namespace velmo::image::file
