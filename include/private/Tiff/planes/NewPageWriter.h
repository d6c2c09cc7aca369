// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"
#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;
struct EncodedStrips;
struct PlaneContext;

/// Writes whole pages of a new file in the order of its directories. Small uncompressed pages are written
/// without libtiff. The smallest are collected and written together with the directories between them. All
/// others are written by `writePlanes`, and so are pages that cannot be written: errors are those of
/// `writePlanes`.
class NewPageWriter {
  public:
    /// `pixelOffsets`: see `createTiffFile`. The references must stay valid.
    NewPageWriter(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                  eTiffPolicy policy, std::vector<vlUInt64> pixelOffsets);

    /// Writes a whole plane, or the planes of all channels of an interleaved page. A failure may be that of
    /// an earlier page. `pEncoded`: see `writePlanes`.
    BoolResult write(PlaneRun const& run, std::vector<void const*> const& planes,
                     EncodedStrips const* pEncoded);
    /// Writes the collected pages. The first one that fails ends it.
    BoolResult flush();

  private:
    struct Page {
        PlaneRun run;
        vlUInt64 offset;
    };

    vlUInt64 findOffset(vlUInt64 directory) const;
    BoolResult collect(PlaneContext const& context, vlUInt64 offset, vlUInt64 nbBytes,
                       std::vector<void const*> const& planes);
    bool writeDirectly(PlaneContext const& context, vlUInt64 offset, vlUInt64 nbBytes,
                       std::vector<void const*> const& planes);
    bool isInChunk(vlUInt64 offset, vlUInt64 nbBytes) const;
    bool readChunk(vlUInt64 offset, vlUInt64 nbBytes);
    BoolResult writeCollected(Page const& page);

    TIFF*& _pTiff;
    boost::filesystem::path const& _path;
    BaseImageGeometry const& _geometry;
    eTiffPolicy _policy;
    TiffStream* _pStream;
    std::vector<vlUInt64> _pixelOffsets;
    std::vector<Page> _pages;      ///< collected
    std::vector<std::byte> _chunk; ///< a part of the file, with the new pixels
    vlUInt64 _chunkStart = 0;      ///< its offset
    vlUInt64 _end = 0;             ///< end of the last collected page in the file
};

} // namespace velmo::image::file
