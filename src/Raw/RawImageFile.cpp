// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFile.h>

#include "Frame/AccessorIdiom.h"
#include "Frame/FailureText.h"
#include "Planes/PlaneFile.h"
#include "Planes/StreamRuns.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOUtil/LastError.h>

namespace velmo::image::file {

namespace {

using Message = eRawImageFileMessage;

constexpr PlaneFileMessages g_messages = {"N5velmo5image4file20eRawImageFileMessage6domainE",
                                          Message::eRIFM_OpenFileFailed,
                                          Message::eRIFM_InvalidPlanIndexes,
                                          Message::eRIFM_SeekFailed,
                                          Message::eRIFM_ReadFileFailed,
                                          Message::eRIFM_WriteFileFailed};

} // namespace

RawImageFile::RawImageFile() : _planes(new PlaneFile(g_messages)) {}

RawImageFile::~RawImageFile() = default;

VELMO_DEFINE_ACCESSOR_IDENTITY(RawImageFile, "velmo::image::file::RawImageFile", 2)

// Creating and opening

BoolResult RawImageFile::createFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                                    std::string const& fileHeader) {
    ArgumentCopies const kept(path, geometry);
    clear();
    vlUInt64 const end = processOffsets(fileHeader.size(), kept.geometry());
    FStreamPtr const pStream = createStream(kept.path);
    if (!pStream->good()) {
        ErrnoGuard const keptErrno;
        return fail(Message::eRIFM_CreateFileFailed, kept.path.string());
    }
    if (!fileHeader.empty() &&
        writeRun(*pStream, {0, fileHeader.size()}, fileHeader.data()) != eStreamOutcome::Done) {
        ErrnoGuard const keptErrno;
        return fail(Message::eRIFM_WriteFileHeaderError, kept.path.string(), getLastError());
    }
    bool const bPlanes = end != fileHeader.size();
    if (bPlanes && !reserveBytes(*pStream, end)) {
        ErrnoGuard const keptErrno;
        return fail(Message::eRIFM_ReserveFailed, end, kept.path.string());
    }
    _planes->accessStreams().insert(pStream);
    initBase(kept.path, eIAM_ReadWrite, kept.geometry(), GeometricCalibrationConstPtr(), false);
    return success();
}

BoolResult RawImageFile::openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                  vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    ArgumentCopies const kept(path, geometry);
    clear();
    return openFileInternal(kept.path, accessMode, dataStartOffset, kept.geometry(), false);
}

BoolResult RawImageFile::openSharedRemoteFile(boost::filesystem::path const& path,
                                              eImageAccessMode const& accessMode, vlUInt64 dataStartOffset,
                                              BaseImageGeometry const& geometry) {
    ArgumentCopies const kept(path, geometry);
    clear();
    return openFileInternal(kept.path, accessMode, dataStartOffset, kept.geometry(), true);
}

BoolResult RawImageFile::openFileInternal(boost::filesystem::path const& path,
                                          eImageAccessMode const& accessMode, vlUInt64 dataStartOffset,
                                          BaseImageGeometry const& geometry, bool sharedRemote) {
    FStreamPtr const pStream = openStream(path, accessMode);
    if (!pStream->good()) {
        return fail(Message::eRIFM_OpenFileFailed, path.string());
    }
    vlUInt64 const end = processOffsets(dataStartOffset, geometry);
    if (!pStream->seekg(0, std::ios::end)) { // not seekable, for example a terminal
        return fail(Message::eRIFM_OpenFileFailed, path.string());
    }
    auto const position = static_cast<std::streamoff>(pStream->tellg());
    if (position < 0) {
        return fail(Message::eRIFM_OpenFileFailed, path.string());
    }
    auto const fileSize = static_cast<vlUInt64>(position);
    if (fileSize < end) {
        if (accessMode == eIAM_ReadOnly) {
            return fail(Message::eRIFM_GeometryExceedsFileSize, geometry.getFullMemorySize(), dataStartOffset,
                        fileSize, path.string());
        }
        return fail(Message::eRIFM_ReserveFailed, end, path.string());
    }
    _planes->accessStreams().insert(pStream);
    initBase(path, accessMode, geometry, GeometricCalibrationConstPtr(), sharedRemote);
    return success();
}

vlUInt64 RawImageFile::processOffsets(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    return _planes->accessPlanes().process(dataStartOffset, geometry);
}

void RawImageFile::clearDerived() {
    _planes->accessStreams().closeAll();
}

// Pixels

bool RawImageFile::hasBinary8BitsStorage() const {
    requireInitialised(VELMO_HERE, *this);
    return true;
}

BoolResult RawImageFile::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                     vlUInt64 nbPixels, void* buffer) const {
    return _planes->read(*this, {z, c, t, pixelStartOffset, nbPixels}, buffer, VELMO_HERE);
}

BoolResult RawImageFile::writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                      vlUInt64 nbPixels, void const* buffer) {
    return _planes->write(*this, {z, c, t, pixelStartOffset, nbPixels}, buffer, VELMO_HERE);
}

BoolResult RawImageFile::resizeData(BaseImageGeometry const& geometry) {
    vlUInt64 const end = processOffsets(0, geometry);
    FStreamPtr pStream;
    BoolResult found = _planes->findStream(*this, pStream);
    if (!found || end == 0) {
        return found;
    }
    if (!reserveBytes(*pStream, end)) {
        return fail(Message::eRIFM_ReserveFailed, end, getFilePath().string());
    }
    return success();
}

// Archives

BoolResult RawImageFile::write(BaseOArchive& archive) const {
    BoolResult result = BaseDiskImageAccessor::write(archive);
    if (!result) {
        return result;
    }
    writeClassVersion(archive, getClassName(), getVersion());
    if (isInit()) {
        archive << oItem("dataStartOffset", _planes->getPlanes().getDataStartOffset());
    }
    return success();
}

BoolResult RawImageFile::read(BaseIArchive& archive) {
    vlUInt64 dataStartOffset = 0;
    return readAccessor(
        *this, archive, VELMO_HERE,
        [&] {
            if (isInit()) {
                archive >> iItem("dataStartOffset", dataStartOffset);
            }
        },
        [&] {
            return openFileInternal(getFilePath(), getAccessMode(), dataStartOffset, getGeometry(),
                                    hasSharedRemoteAccess());
        });
}

} // namespace velmo::image::file
