// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffOpening.h"

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffFileClosure.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffForeignFile.h"
#include "Tiff/model/TiffStoredGeometry.h"

#include <VELMOUtil/GuardedRaise.h>
#include <system_error>
#include <utility>

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;

BoolResult readStoredFile(boost::filesystem::path const& path, TiffContents& opened) {
    UnloggedRaises const unlogged; // the opening itself reports a damaged record
    BoolResult result = readStoredGeometry(opened.pTiff, path, opened.pGeometry, opened.pCalibration);
    if (result) {
        opened.userProperties = readUserProperties(opened.pTiff);
        opened.bHasUserProperties = true;
    }
    return result;
}

BoolResult readFile(boost::filesystem::path const& path, TiffOpenRequest const& request,
                    TiffContents& opened) {
    opened.pTiff = TiffStream::open(path, request.accessMode == eIAM_ReadOnly ? "r" : "r+");
    if (opened.pTiff == nullptr) {
        return fail(Message::eTIFM_OpenFileError, path.string(), lastTiffMessage());
    }
    BoolResult result = isOwnFile(opened.pTiff)
                            ? readStoredFile(path, opened)
                            : TiffForeignFile(opened.pTiff, path, request.accessMode, request.directoryMode,
                                              request.bufferMode, request.policy)
                                  .read(opened.pGeometry, opened.pCalibration);
    TiffStream& stream = *TiffStream::find(opened.pTiff);
    std::error_code const missed = stream.getMissedError();
    if (result && missed) {
        result = fail(Message::eTIFM_OpenFileError, path.string(), missed.message());
    }
    if (result && request.accessMode != eIAM_ReadOnly) {
        stream.allowWrites();
    }
    return result;
}

} // namespace

BoolResult openTiff(boost::filesystem::path const& path, TiffOpenRequest const& request,
                    TiffContents& opened) {
    TIFFInitializeExtend();
    if (clearsTiffText(request.policy)) {
        TiffErrorHandler::getInstance().clearCurrentError();
    }
    TiffContents found;
    TiffFileClosure closure(path.string(), found.pTiff);
    opened = TiffContents();
    return failOnException(Message::eTIFM_OpenFileException, path, [&] {
        BoolResult result = readFile(path, request, found);
        if (result) {
            opened = std::move(found);
            closure.disarm();
        }
        return result;
    });
}

BoolResult openTiffFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                        eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                        TIFF*& pTiff, boost::shared_ptr<BaseImageGeometry>& pImageGeometry,
                        boost::shared_ptr<GeometricCalibration>& pGeometricCalibration,
                        std::string* pUserProperties) {
    TiffContents opened;
    BoolResult result =
        openTiff(filePath, {accessMode, directoryMode, bufferMode, eTiffPolicy::Plain}, opened);
    pTiff = opened.pTiff;
    pImageGeometry = opened.pGeometry;
    pGeometricCalibration = opened.pCalibration;
    if (pUserProperties != nullptr && opened.bHasUserProperties) {
        *pUserProperties = opened.userProperties;
    }
    return result;
}

bool isInterleavedRgb(TIFF* pTiff, boost::filesystem::path const& /*filePath*/) {
    auto const photometric = getTag<std::uint16_t>(pTiff, TIFFTAG_PHOTOMETRIC);
    auto const planarConfig = getTag<std::uint16_t>(pTiff, TIFFTAG_PLANARCONFIG);
    return photometric && planarConfig && *photometric == PHOTOMETRIC_RGB &&
           *planarConfig == PLANARCONFIG_CONTIG;
}

} // namespace velmo::image::file
