// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFile.h>

#include "Frame/AccessorIdiom.h"
#include "Frame/FailureText.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffHandles.h"
#include "Tiff/model/TiffOpening.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOSerialization/ClassVersion.h>
#include <boost/filesystem/operations.hpp>
#include <cstdio>

namespace velmo::image::file {

namespace {

bool isMissing(boost::filesystem::path const& path) {
    boost::system::error_code ignored;
    auto const type = boost::filesystem::status(path, ignored).type();
    return type == boost::filesystem::file_not_found || type == boost::filesystem::status_error;
}

} // namespace

TiffImageFile::TiffImageFile() : TiffImageFile(eTiffPolicy::Plain) {}

TiffImageFile::TiffImageFile(eTiffPolicy policy) : _pHandles(new TiffHandles), _policy(policy) {}

TiffImageFile::~TiffImageFile() {
    TiffImageFile::clearDerived();
}

VELMO_DEFINE_ACCESSOR_IDENTITY(TiffImageFile, "velmo::image::file::TiffImageFile", 1)

// Creating and opening

BoolResult TiffImageFile::openFile(boost::filesystem::path const& filePath,
                                   eImageAccessMode const& accessMode,
                                   eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                                   std::string& userProperties) {
    boost::filesystem::path const kept(filePath); // NOLINT(*-unnecessary-copy*): may be the accessor's own
    clear();
    return openFileInternal(kept, accessMode, directoryMode, bufferMode, userProperties, false);
}

BoolResult TiffImageFile::openSharedRemoteFile(boost::filesystem::path const& filePath,
                                               eTiffDirectoryMode const& directoryMode,
                                               eTiffBufferMode const& bufferMode,
                                               std::string& userProperties) {
    boost::filesystem::path const kept(filePath); // NOLINT(*-unnecessary-copy*): may be the accessor's own
    clear();
    return openFileInternal(kept, eIAM_ReadOnly, directoryMode, bufferMode, userProperties, true);
}

BoolResult TiffImageFile::createFile(boost::filesystem::path const& filePath,
                                     BaseImageGeometry const& imageGeometry,
                                     GeometricCalibrationConstPtr const& pGeometricCalibration) {
    ArgumentCopies const kept(filePath, imageGeometry);
    GeometricCalibrationConstPtr const pCalibration(pGeometricCalibration); // NOLINT(*-unnecessary-copy*)
    clear();
    BoolResult result = createFileInternal(kept.path, kept.geometry(), pCalibration);
    if (result) {
        _tiffDirectoryMode = eTDM_Volume;
        _tiffBufferMode = eTBM_Default;
        initBase(kept.path, eIAM_ReadWrite, kept.geometry(), pCalibration, false);
    }
    return result;
}

BoolResult TiffImageFile::openFileInternal(boost::filesystem::path const& filePath,
                                           eImageAccessMode const& accessMode,
                                           eTiffDirectoryMode const& directoryMode,
                                           eTiffBufferMode const& bufferMode, std::string& userProperties,
                                           bool bSharedRemote) {
    TiffContents opened;
    BoolResult result = openTiff(filePath, {accessMode, directoryMode, bufferMode, _policy}, opened);
    if (result) {
        takeHandle(opened.pTiff, accessMode);
        _tiffDirectoryMode = directoryMode;
        _tiffBufferMode = bufferMode;
        if (opened.bHasUserProperties) {
            userProperties = opened.userProperties;
        }
        initBase(filePath, accessMode, *opened.pGeometry, opened.pCalibration, bSharedRemote);
    }
    return result;
}

BoolResult TiffImageFile::createFileInternal(boost::filesystem::path const& filePath,
                                             BaseImageGeometry const& imageGeometry,
                                             GeometricCalibrationConstPtr const& pGeometricCalibration) {
    TIFF* pTiff = nullptr;
    BoolResult result = createTiffFile(filePath, imageGeometry, pGeometricCalibration, eTC_None, pTiff);
    if (result) {
        takeHandle(pTiff, eIAM_ReadWrite);
    }
    return result;
}

void TiffImageFile::takeHandle(TIFF* pTiff, eImageAccessMode accessMode) {
    bool const bSeveral = accessMode == eIAM_ReadOnly && readsInParallel(_policy);
    _pHandles->open(pTiff, bSeveral ? TiffHandles::eUse::SeveralAtATime : TiffHandles::eUse::OneAtATime);
}

void TiffImageFile::clearDerived() {
    _pHandles->close();
}

// Pixels

bool TiffImageFile::hasBinary8BitsStorage() const {
    requireInitialised(VELMO_HERE, *this);
    return true;
}

BoolResult TiffImageFile::resizeData(BaseImageGeometry const& imageGeometry) {
    clearDerived();
    return createFileInternal(getFilePath(), imageGeometry, getGeometricCalibrationConstPtr());
}

BoolResult TiffImageFile::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                      vlUInt64 nbPixels, void* buffer) const {
    return withHandle([&](TIFF*& pTiff) {
        return readPlane(pTiff, getFilePath(), getGeometry(), {z, c, t, pixelStartOffset, nbPixels}, _policy,
                         buffer);
    });
}

BoolResult TiffImageFile::withHandle(std::function<BoolResult(TIFF*& pTiff)> const& read) const {
    try {
        TiffHandles::Loan handle(*_pHandles);
        return read(handle.access());
    } catch (std::exception const& exception) {
        if (printsExceptions(_policy)) {
            std::puts(exception.what());
        }
        return failure(exception);
    }
}

BoolResult TiffImageFile::writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                       vlUInt64 nbPixels, void const* buffer) {
    TiffHandles::Loan handle(*_pHandles);
    return writePlane(handle.access(), getFilePath(), getGeometry(), {z, c, t, pixelStartOffset, nbPixels},
                      _policy, buffer);
}

// Archives

BoolResult TiffImageFile::write(BaseOArchive& archive) const {
    BoolResult result = BaseDiskImageAccessor::write(archive);
    if (result) {
        writeClassVersion(archive, getClassName(), getVersion());
        archive << oItem("_tiffDirectoryMode", _tiffDirectoryMode)
                << oItem("_tiffBufferMode", _tiffBufferMode);
    }
    return result;
}

BoolResult TiffImageFile::openAgain() {
    boost::filesystem::path const path(getFilePath());
    if (getAccessMode() != eIAM_ReadOnly && recreatesMissingFiles(_policy) && isMissing(path)) {
        warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_FileMadeAnew, path.string());
        return createFileInternal(path, getGeometry(), getGeometricCalibrationConstPtr());
    }
    std::string userProperties;
    return openFileInternal(path, getAccessMode(), _tiffDirectoryMode, _tiffBufferMode, userProperties,
                            hasSharedRemoteAccess());
}

BoolResult TiffImageFile::read(BaseIArchive& archive) {
    return readAccessor(
        *this, archive, VELMO_HERE,
        [&] {
            archive >> iItem("_tiffDirectoryMode", _tiffDirectoryMode) >>
                iItem("_tiffBufferMode", _tiffBufferMode);
        },
        [this] { return openAgain(); });
}

} // namespace velmo::image::file
