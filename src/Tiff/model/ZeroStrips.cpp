// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/ZeroStrips.h"

#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <new>

namespace velmo::image::file {

bool ZeroStrips::write(TIFF* pTiff, StripLayout const& layout) {
    if (!layout.isCountable()) {
        throw std::bad_alloc();
    }
    vlUInt64 const nbStrips = layout.rowsPerStrip == 0 ? 0 : divideUp(layout.sizeY, layout.rowsPerStrip);
    if (getCompression(pTiff) == COMPRESSION_NONE) {
        return writePlain(pTiff, layout, nbStrips);
    }
    bool bWritten = true;
    for (vlUInt64 strip = 0; bWritten && strip < nbStrips; ++strip) {
        bWritten = writeCompressed(pTiff, static_cast<std::uint32_t>(strip), layout.getBytesOf(strip));
    }
    return bWritten;
}

bool ZeroStrips::writePlain(TIFF* pTiff, StripLayout const& layout, vlUInt64 nbStrips) {
    vlUInt64 const nbBytes = std::min(layout.getStripPixels(), layout.getNbPixels()) * layout.pixelStride;
    TiffStream::find(pTiff)->reserveZeros(nbBytes * nbStrips);
    bool bWritten = true;
    for (vlUInt64 strip = 0; bWritten && strip < nbStrips; ++strip) {
        bWritten = TIFFWriteEncodedStrip(pTiff, static_cast<std::uint32_t>(strip), provideZeros(nbBytes),
                                         static_cast<tmsize_t>(nbBytes)) == static_cast<tmsize_t>(nbBytes);
    }
    return bWritten;
}

bool ZeroStrips::writeCompressed(TIFF* pTiff, std::uint32_t strip, vlUInt64 nbBytes) {
    std::vector<std::byte>& encoded = _encoded[nbBytes];
    if (!encoded.empty()) {
        auto const size = static_cast<tmsize_t>(encoded.size());
        return TIFFWriteRawStrip(pTiff, strip, encoded.data(), size) == size;
    }
    auto const size = static_cast<tmsize_t>(nbBytes);
    if (TIFFWriteEncodedStrip(pTiff, strip, provideZeros(nbBytes), size) != size) {
        return false;
    }
    encoded.resize(TIFFGetStrileByteCount(pTiff, strip));
    auto const encodedSize = static_cast<tmsize_t>(encoded.size());
    if (TIFFReadRawStrip(pTiff, strip, encoded.data(), encodedSize) != encodedSize) {
        encoded.clear();
    }
    return true;
}

std::byte* ZeroStrips::provideZeros(vlUInt64 nbBytes) {
    _zeros.resize(std::max<vlUInt64>(_zeros.size(), nbBytes));
    return _zeros.data();
}

} // namespace velmo::image::file
