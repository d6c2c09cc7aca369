// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/PlanContext.h"

#include "Tiff/TiffDirectories.h"
#include "Tiff/TiffPixels.h"
#include "Tiff/TiffStrips.h"
#include "Tiff/TiffTags.h"

#include <algorithm>

namespace velmo {
namespace image {
namespace file {

namespace {

using Message = eTiffImageFileMessage;

/// Samples of a pixel of a directory that does not say.
constexpr std::uint16_t g_unsaidSamples = 3;

} // namespace

PlanContext::PlanContext(TIFF*& givenTiff, boost::filesystem::path const& givenPath,
                         BaseImageGeometry const& givenGeometry, PlanRun const& givenRun, eScope scope)
    : pTiff(givenTiff), path(givenPath), geometry(givenGeometry), run(givenRun),
      bufferType(getPlanBufferType(givenGeometry, givenRun.t)) {
    bool const bPage = scope == eScope::Page;
    run.c = bPage ? 0 : run.c;
    directory = bPage ? geometry.getSizeZ() * run.t + run.z : toDirectoryIndex(geometry, run.z, run.c, run.t);
    nbChannels = bPage || isInterleavedColor(geometry) ? geometry.getSizeC() : 1;
}

BoolResult PlanContext::requireHandle() const {
    return pTiff != nullptr
               ? success()
               : fail(Message::eTIFM_OpenFileError, path.string(), "An earlier failure closed it");
}

BoolResult PlanContext::reachDirectory() const {
    BoolResult const reached = TiffDirectories(pTiff).reach(directory);
    return reached ? success()
                   : fail(Message::eTIFM_SetDirectoryError, directory, path.string(), reached.getMessage());
}

BoolResult PlanContext::reachMovedDirectory() const {
    TiffDirectories(pTiff).forget();
    return reachDirectory();
}

bool PlanContext::isRunInside() const {
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    return run.nbPixels <= nbPixels && run.pixelStart <= nbPixels - run.nbPixels;
}

BoolResult PlanContext::requireChannels() const {
    vlUInt64 const samples = getTag<std::uint16_t>(pTiff, TIFFTAG_SAMPLESPERPIXEL).value_or(g_unsaidSamples);
    if (samples == nbChannels && (samples == 3 || samples == 4)) {
        return success();
    }
    auto const photometric = getTag<std::uint16_t>(pTiff, TIFFTAG_PHOTOMETRIC).value_or(0);
    return failForChannels(photometric, samples, path);
}

StripLayout PlanContext::getLayout(vlUInt64 rowsPerStrip) const {
    vlUInt64 const sizeY = geometry.getSizeY();
    vlUInt64 const nbRows = std::max<vlUInt64>(1, rowsPerStrip == 0 ? sizeY : std::min(rowsPerStrip, sizeY));
    return {geometry.getSizeX(), sizeY, nbRows, nbChannels * getImageBufferBaseSize(bufferType)};
}

bool PlanContext::fitsDirectory() const {
    constexpr unsigned int bitsOfByte = 8;
    auto const bits = getTag<std::uint16_t>(pTiff, TIFFTAG_BITSPERSAMPLE).value_or(0);
    bool const bPacked = bits == 1 && getImageBufferBaseSize(bufferType) == 1;
    return getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGEWIDTH).value_or(0) == geometry.getSizeX() &&
           getTag<std::uint32_t>(pTiff, TIFFTAG_IMAGELENGTH).value_or(0) == geometry.getSizeY() &&
           (bPacked || bits == getImageBufferBaseSize(bufferType) * bitsOfByte);
}

BoolResult PlanContext::failToGetTagAndClose(char const* tagName) const {
    BoolResult failure = failToGetTag(tagName, path);
    TIFFClose(pTiff);
    pTiff = nullptr;
    return failure;
}

BoolResult PlanContext::failToReadStrip(vlUInt64 strip) const {
    return fail(Message::eTIFM_ReadStripError, strip, run.z, run.c, run.t, path.string(), getTiffWords());
}

BoolResult PlanContext::failToWriteStrip(vlUInt64 strip) const {
    return fail(Message::eTIFM_WriteStripError, strip, run.z, run.c, run.t, path.string(), getTiffWords());
}

} // namespace file
} // namespace image
} // namespace velmo
