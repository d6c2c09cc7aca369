// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/PlaneContext.h"

#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStrips.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffPixels.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;

/// Samples of a pixel if the directory has no SamplesPerPixel tag.
constexpr std::uint16_t g_unsaidSamples = 3;

} // namespace

PlaneContext::PlaneContext(TIFF*& givenTiff, boost::filesystem::path const& givenPath,
                           BaseImageGeometry const& givenGeometry, PlaneRun const& givenRun,
                           eTiffPolicy givenPolicy, eScope scope)
    : pTiff(givenTiff), path(givenPath), geometry(givenGeometry), run(givenRun), policy(givenPolicy),
      bufferType(getPlaneBufferType(givenGeometry, givenRun.t)) {
    bool const bPage = scope == eScope::Page;
    directory = bPage ? geometry.getSizeZ() * run.t + run.z : toDirectoryIndex(geometry, run.z, run.c, run.t);
    nbChannels = bPage || isInterleavedColor(geometry) ? geometry.getSizeC() : 1;
}

BoolResult PlaneContext::requireHandle() const {
    return pTiff != nullptr
               ? success()
               : fail(Message::eTIFM_OpenFileError, path.string(), "An earlier failure closed it");
}

BoolResult PlaneContext::reachDirectory() const {
    TiffDirectories const directories(pTiff, policy);
    BoolResult const reached = directories.reach(directory);
    if (reached) {
        warnOfCutNumber();
    }
    return reached ? success() : fail(Message::eTIFM_SetDirectoryError, directory, path.string(), reached);
}

void PlaneContext::warnOfCutNumber() const {
    vlUInt64 const number =
        cutsDirectoryNumbers(policy) ? TiffDirectories(pTiff, policy).toNumber(directory) : directory;
    if (number != directory) {
        warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_DirectoryNumberCut, directory, number, path.string());
    }
}

BoolResult PlaneContext::reachMovedDirectory() const {
    TiffDirectories(pTiff, policy).invalidate();
    return reachDirectory();
}

BoolResult PlaneContext::requireRunInside() const {
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    if (run.nbPixels <= nbPixels && run.pixelStart <= nbPixels - run.nbPixels) {
        return success();
    }
    auto const end = checkedAdd(run.pixelStart, run.nbPixels).value_or(NumericLimits<vlUInt64>::s_max);
    return fail(eImageFileCheckMessage::eIFCM_RunOutsidePlane, run.pixelStart, end - 1, nbPixels);
}

BoolResult PlaneContext::requireChannels() const {
    vlUInt64 const samples = getTag<std::uint16_t>(pTiff, TIFFTAG_SAMPLESPERPIXEL).value_or(g_unsaidSamples);
    if (samples == nbChannels && (samples == 3 || samples == 4)) {
        return success();
    }
    auto const photometric = getTag<std::uint16_t>(pTiff, TIFFTAG_PHOTOMETRIC).value_or(0);
    return failForChannels(photometric, samples, path);
}

StripLayout PlaneContext::getLayout(vlUInt64 rowsPerStrip) const {
    vlUInt64 const sizeY = geometry.getSizeY();
    vlUInt64 const nbRows = std::max<vlUInt64>(1, rowsPerStrip == 0 ? sizeY : std::min(rowsPerStrip, sizeY));
    return {geometry.getSizeX(), sizeY, nbRows, nbChannels * getImageBufferBaseSize(bufferType)};
}

BoolResult PlaneContext::requireDirectoryOf(unsigned int nbBits) const {
    auto const bits = findBitsPerSample().value_or(0);
    auto const width = getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGEWIDTH).value_or(0);
    auto const length = getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGELENGTH).value_or(0);
    if (width == geometry.getSizeX() && length == geometry.getSizeY() && bits == nbBits) {
        return success();
    }
    return fail(eImageFileCheckMessage::eIFCM_DirectoryMismatch, width, length, bits, geometry.getSizeX(),
                geometry.getSizeY(), nbBits);
}

BoolResult PlaneContext::requireFittingDirectory() const {
    constexpr unsigned int bitsOfByte = 8;
    return requireDirectoryOf(getImageBufferBaseSize(bufferType) * bitsOfByte);
}

BoolResult PlaneContext::requirePackedDirectory() const {
    auto const samples = getTag<std::uint16_t>(pTiff, TIFFTAG_SAMPLESPERPIXEL).value_or(1);
    bool const bOneByte = getImageBufferBaseSize(bufferType) == 1;
    return bOneByte && samples == 1 ? requireDirectoryOf(1) : requireFittingDirectory();
}

std::optional<std::uint16_t> PlaneContext::findBitsPerSample() const {
    return ::velmo::image::file::findBitsPerSample(pTiff, policy);
}

BoolResult PlaneContext::failToGetTagAndClose(char const* tagName) const {
    BoolResult failure = failToGetTag(tagName, path);
    TIFFClose(pTiff);
    pTiff = nullptr;
    return failure;
}

BoolResult PlaneContext::failToReadStrip(vlUInt64 strip, BoolResult const& reason) const {
    return fail(Message::eTIFM_ReadStripError, strip, run.z, run.c, run.t, path.string(), reason);
}

BoolResult PlaneContext::failToWriteStrip(vlUInt64 strip, BoolResult const& reason) const {
    return fail(Message::eTIFM_WriteStripError, strip, run.z, run.c, run.t, path.string(), reason);
}

} // namespace velmo::image::file
