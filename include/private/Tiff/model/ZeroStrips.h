// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/TiffStrips.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace velmo::image::file {

/// Writes strips of zeros to new directories of one file. Compressed zeros are always the same bytes; the
/// class encodes each size once.
class ZeroStrips {
  public:
    /// Writes all strips of the new directory. Returns false if a strip was not written completely.
    bool write(TIFF* pTiff, StripLayout const& layout);

  private:
    bool writePlain(TIFF* pTiff, StripLayout const& layout, vlUInt64 nbStrips);
    bool writeCompressed(TIFF* pTiff, std::uint32_t strip, vlUInt64 nbBytes);
    std::byte* provideZeros(vlUInt64 nbBytes);

    std::vector<std::byte> _zeros;
    std::map<vlUInt64, std::vector<std::byte>> _encoded; ///< by their uncompressed size
};

} // namespace velmo::image::file
