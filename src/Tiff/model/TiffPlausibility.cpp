// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffPlausibility.h"

#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/ImageJStack.h"
#include "Tiff/model/TiffPixels.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>

namespace velmo::image::file {

namespace {

/// The largest ratio of an uncompressed image to its file. It is above 1, because a truncated copy of a file
/// must still open.
constexpr vlUInt64 g_largestFactor = 16;
constexpr vlUInt64 g_smallFile = 65536;

/// Whether every strip of the current directory is in the file with all bytes of its pixels.
bool holdsItsPixels(TIFF* pTiff, vlUInt64 fileSize) {
    auto const length = getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGELENGTH).value_or(0);
    auto const nbPlaneBytes = checkedMultiply(TIFFScanlineSize64(pTiff), length);
    vlUInt64 nbBytes = 0;
    bool bInFile = TIFFIsTiled(pTiff) == 0 && nbPlaneBytes.has_value();
    for (std::uint32_t strip = 0; bInFile && strip < TIFFNumberOfStrips(pTiff); ++strip) {
        vlUInt64 const offset = TIFFGetStrileOffset(pTiff, strip);
        vlUInt64 const byteCount = TIFFGetStrileByteCount(pTiff, strip);
        bInFile = offset <= fileSize && byteCount <= fileSize - offset;
        nbBytes += byteCount;
    }
    return bInFile && nbBytes >= *nbPlaneBytes;
}

/// The same for all directories of an image, which may share strips.
bool holdAllPixels(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy) {
    TiffDirectories const directories(pTiff, policy);
    vlUInt64 const fileSize = TiffStream::find(pTiff)->getSize();
    vlUInt64 const nbWanted =
        geometry.getSizeZ() * geometry.getSizeT() * (isInterleavedColor(geometry) ? 1 : geometry.getSizeC());
    bool bHeld = nbWanted <= directories.count();
    for (vlUInt64 directory = 0; bHeld && directory < nbWanted; ++directory) {
        bHeld = directories.reach(directory) && holdsItsPixels(pTiff, fileSize);
    }
    return bHeld;
}

BoolResult requireSize(TIFF* pTiff, BaseImageGeometry const& geometry, eTiffPolicy policy) {
    constexpr vlUInt64 bitsOfByte = 8;
    if (getCompression(pTiff) != COMPRESSION_NONE) {
        return success();
    }
    bool const bPacked = findBitsPerSample(pTiff, policy) == 1;
    vlUInt64 const nbBytes = geometry.getFullMemorySize() / (bPacked ? bitsOfByte : 1);
    vlUInt64 const fileSize = TiffStream::find(pTiff)->getSize();
    bool const bHeld = nbBytes / g_largestFactor <= std::max(fileSize, g_smallFile) ||
                       (!isImageJStack(pTiff, geometry, policy) && holdAllPixels(pTiff, geometry, policy));
    return bHeld ? success() : fail(eImageFileCheckMessage::eIFCM_ImageExceedsFile, nbBytes, fileSize);
}

} // namespace

BoolResult requirePlausible(TIFF* pTiff, boost::filesystem::path const& path,
                            BaseImageGeometry const& geometry, eTiffPolicy policy, bool bInterleaved) {
    vlUInt64 const sizeC = geometry.getSizeC();
    if (bInterleaved && sizeC != 3 && sizeC != 4) {
        return failForChannels(PHOTOMETRIC_RGB, sizeC, path);
    }
    return requireSize(pTiff, geometry, policy);
}

} // namespace velmo::image::file
