// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffFileClosure.h"
#include "Tiff/TiffForeignFile.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/TiffStoredGeometry.h"
#include "Tiff/TiffStream.h"
#include "Tiff/TiffTags.h"

#include <VELMOUtil/BaseException.h>
#include <cerrno>
#include <system_error>

namespace velmo {
namespace image {
namespace file {

namespace {

using Message = eTiffImageFileMessage;

BoolResult readStoredFile(TIFF* pTiff, boost::filesystem::path const& path, ImageGeometryPtr& pGeometry,
                          GeometricCalibrationPtr& pCalibration, std::string* pUserProperties) {
    BoolResult result = readStoredGeometry(pTiff, path, pGeometry, pCalibration);
    if (result && pUserProperties != nullptr) {
        *pUserProperties = readUserProperties(pTiff);
    }
    return result;
}

/// Why libtiff did not see all of the directories that it was to read, since the last zero of errno: it
/// leaves out a tag that it has no memory for, and takes a directory for the end of the file, and says that
/// in many words or in none. What the C library said stays.
std::error_code findMissed(TiffStream const& stream) {
    return errno == ENOMEM ? std::make_error_code(std::errc::not_enough_memory) : stream.getReadError();
}

} // namespace

BoolResult openTiffFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                        eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                        TIFF*& pTiff, boost::shared_ptr<BaseImageGeometry>& pImageGeometry,
                        boost::shared_ptr<GeometricCalibration>& pGeometricCalibration,
                        std::string* pUserProperties) {
    TIFFInitializeExtend();
    pTiff = nullptr;
    pImageGeometry.reset();
    pGeometricCalibration.reset();
    TiffFileClosure closure(filePath.string(), pTiff);
    try {
        errno = 0; // for findMissed
        pTiff = TiffStream::open(filePath, accessMode == eIAM_ReadOnly ? "r" : "r+");
        if (pTiff == nullptr) {
            return fail(Message::eTIFM_OpenFileError, filePath.string(), getTiffWords());
        }
        BoolResult result =
            isOwnFile(pTiff)
                ? readStoredFile(pTiff, filePath, pImageGeometry, pGeometricCalibration, pUserProperties)
                : TiffForeignFile(pTiff, filePath, accessMode, directoryMode, bufferMode)
                      .read(pImageGeometry, pGeometricCalibration);
        TiffStream& stream = *TiffStream::find(pTiff);
        std::error_code const missed = findMissed(stream);
        if (result && missed) {
            result = fail(Message::eTIFM_OpenFileError, filePath.string(), missed.message());
        }
        if (result) {
            stream.allowWrites();
            closure.disarm();
        }
        return result;
    } catch (std::exception const& exception) {
        return fail(Message::eTIFM_OpenFileException, filePath.string(), exception.what());
    } catch (...) {
        UnHandleException const unknown("Unknown exception", __PRETTY_FUNCTION__, __FILE__, __LINE__);
        return fail(Message::eTIFM_OpenFileException, filePath.string(), unknown.what());
    }
}

bool isInterleavedRgb(TIFF* pTiff, boost::filesystem::path const& /*filePath*/) {
    auto const photometric = getTag<std::uint16_t>(pTiff, TIFFTAG_PHOTOMETRIC);
    auto const planarConfig = getTag<std::uint16_t>(pTiff, TIFFTAG_PLANARCONFIG);
    return photometric && planarConfig && *photometric == PHOTOMETRIC_RGB &&
           *planarConfig == PLANARCONFIG_CONTIG;
}

} // namespace file
} // namespace image
} // namespace velmo
