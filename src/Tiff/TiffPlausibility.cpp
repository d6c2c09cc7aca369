// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffPlausibility.h"

#include "Tiff/TiffStream.h"
#include "Tiff/TiffTags.h"

#include <VELMOUtil/CheckedArithmetic.h>
#include <algorithm>

namespace velmo {
namespace image {
namespace file {

namespace {

/// How many times its file an image may be whose pixels are not compressed: an announcement may be wrong, and
/// a copy of the file may have broken off.
constexpr vlUInt64 g_largestFactor = 16;
constexpr vlUInt64 g_smallFile = 65536;

BoolResult requireSize(TIFF* pTiff, BaseImageGeometry const& geometry) {
    constexpr vlUInt64 bitsOfByte = 8;
    bool const bPacked = getTag<std::uint16_t>(pTiff, TIFFTAG_BITSPERSAMPLE).value_or(0) == 1;
    if (getCompression(pTiff) != COMPRESSION_NONE) {
        return success();
    }
    vlUInt64 const nbBytes = geometry.getFullMemorySize() / (bPacked ? bitsOfByte : 1);
    vlUInt64 const fileSize = TiffStream::find(pTiff)->getSize();
    if (nbBytes / g_largestFactor <= std::max(fileSize, g_smallFile)) {
        return success();
    }
    return failure("The file announces " + std::to_string(nbBytes) + " bytes of pixels and has " +
                   std::to_string(fileSize) + " bytes");
}

} // namespace

BoolResult requirePlausible(TIFF* pTiff, boost::filesystem::path const& path,
                            BaseImageGeometry const& geometry, bool bInterleaved) {
    vlUInt64 const sizeC = geometry.getSizeC();
    if (bInterleaved && sizeC != 3 && sizeC != 4) {
        auto const photometric = getTag<std::uint16_t>(pTiff, TIFFTAG_PHOTOMETRIC).value_or(0);
        return failForChannels(photometric, sizeC, path);
    }
    return requireSize(pTiff, geometry);
}

} // namespace file
} // namespace image
} // namespace velmo
