// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/TiffStrips.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace velmo::image::file {

/// Writes strips of zeros to new directories of one file. Zeros that are compressed are the same bytes each
/// time: each size is encoded once.
class ZeroStrips {
  public:
    /// Fills the directory that is being made. False where a strip did not come out whole.
    bool write(TIFF* pTiff, StripLayout const& layout);

  private:
    bool writePlain(TIFF* pTiff, StripLayout const& layout, vlUInt64 nbStrips);
    bool writeCompressed(TIFF* pTiff, std::uint32_t strip, vlUInt64 nbBytes);
    std::byte* provideZeros(vlUInt64 nbBytes);

    std::vector<std::byte> _zeros;
    std::map<vlUInt64, std::vector<std::byte>> _encoded; ///< by the bytes that they stand for
};

} // namespace velmo::image::file
