// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFile.h>

#include "Utils/AccessorIdiom.h"
#include "Utils/FailureText.h"
#include "Utils/PlanTable.h"
#include "Utils/StreamRuns.h"
#include "Utils/ThreadStreams.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOUtil/LastError.h>

namespace velmo {
namespace image {
namespace file {

namespace {

using Message = eRawImageFileMessage;

/// A run of pixels of one plane, as a caller asks for it.
struct PixelRun {
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    vlUInt64 pixelStartOffset;
    vlUInt64 nbPixels;
};

ByteRun locate(PlanTable const& plans, BaseImageGeometry const& geometry, PixelRun const& run,
               RaiseSite const& site) {
    ImagePlanGeometry const plan = geometry.getPlanGeometry(run.t);
    auto const planOffset = plans.find(run.z, run.c, run.t);
    if (!planOffset) {
        raise(site, Message::eRIFM_InvalidPlanIndexes, run.z, run.c, run.t);
    }
    return toByteRun(*planOffset, run.pixelStartOffset, run.nbPixels,
                     getBufferBaseSize(toDataType(plan.getBufferType())));
}

BoolResult toResult(eStreamOutcome outcome, Message::domain transferFailed, std::string const& path,
                    PixelRun const& run) {
    switch (outcome) {
    case eStreamOutcome::SeekFailed:
        return fail(Message::eRIFM_SeekFailed, path, run.z, run.c, run.t, run.pixelStartOffset);
    case eStreamOutcome::TransferFailed:
        return fail(transferFailed, path, run.z, run.c, run.t, run.pixelStartOffset, run.nbPixels);
    case eStreamOutcome::Done:
        break;
    }
    return success();
}

} // namespace

RawImageFile::RawImageFile() : _planOffsets(new PlanTable), _threadStreams(new ThreadStreams) {}

RawImageFile::~RawImageFile() {
    RawImageFile::clearDerived();
}

VELMO_DEFINE_ACCESSOR_IDENTITY(RawImageFile, "velmo::image::file::RawImageFile", 2)

// Creating and opening

BoolResult RawImageFile::createFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                                    std::string const& fileHeader) {
    KeptArguments const kept(path, geometry);
    clear();
    vlUInt64 const end = processOffsets(fileHeader.size(), kept.geometry());
    FStreamPtr const pStream = createStream(kept.path);
    if (!pStream->good()) {
        return fail(Message::eRIFM_CreateFileFailed, kept.path.string());
    }
    if (!fileHeader.empty() &&
        !pStream->write(fileHeader.data(), static_cast<std::streamsize>(fileHeader.size()))) {
        return fail(Message::eRIFM_WriteFileHeaderError, kept.path.string(), getLastError());
    }
    if (!reserveBytes(*pStream, end)) {
        return fail(Message::eRIFM_ReserveFailed, end, kept.path.string());
    }
    _threadStreams->insert(pStream);
    initBase(kept.path, eIAM_ReadWrite, kept.geometry(), GeometricCalibrationConstPtr(), false);
    return success();
}

BoolResult RawImageFile::openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                  vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    KeptArguments const kept(path, geometry);
    clear();
    return openFileInternal(kept.path, accessMode, dataStartOffset, kept.geometry(), false);
}

BoolResult RawImageFile::openSharedRemoteFile(boost::filesystem::path const& path,
                                              eImageAccessMode const& accessMode, vlUInt64 dataStartOffset,
                                              BaseImageGeometry const& geometry) {
    KeptArguments const kept(path, geometry);
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
    if (!pStream->seekg(0, std::ios::end)) { // a terminal, say: nothing in it has a place
        return fail(Message::eRIFM_OpenFileFailed, path.string());
    }
    auto const fileSize = static_cast<vlUInt64>(static_cast<std::streamoff>(pStream->tellg()));
    if (fileSize < end) {
        if (accessMode == eIAM_ReadOnly) {
            return fail(Message::eRIFM_GeometryExceedsFileSize, geometry.getFullMemorySize(), dataStartOffset,
                        fileSize, path.string());
        }
        return fail(Message::eRIFM_ReserveFailed, end, path.string());
    }
    _threadStreams->insert(pStream);
    initBase(path, accessMode, geometry, GeometricCalibrationConstPtr(), sharedRemote);
    return success();
}

vlUInt64 RawImageFile::processOffsets(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry) {
    return _planOffsets->process(dataStartOffset, geometry);
}

BoolResult RawImageFile::findThreadFStream(boost::shared_ptr<std::fstream>& stream) const {
    stream = _threadStreams->find(getFilePath(), getAccessMode());
    return stream ? success() : fail(Message::eRIFM_OpenFileFailed, getFilePath().string());
}

void RawImageFile::clearDerived() {
    _threadStreams->closeAll();
}

// Pixels

bool RawImageFile::hasBinary8BitsStorage() const {
    requireInitialised(VELMO_HERE, *this);
    return true;
}

BoolResult RawImageFile::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                     vlUInt64 nbPixels, void* buffer) const {
    FStreamPtr pStream;
    BoolResult found = findThreadFStream(pStream);
    if (!found) {
        return found;
    }
    PixelRun const run = {z, c, t, pixelStartOffset, nbPixels};
    ByteRun const bytes = locate(*_planOffsets, getGeometry(), run, VELMO_HERE);
    return toResult(readRun(*pStream, bytes, buffer), Message::eRIFM_ReadFileFailed, getFilePath().string(),
                    run);
}

// Unlike a read, a write looks at the plane before it touches the file.
BoolResult RawImageFile::writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                      vlUInt64 nbPixels, void const* buffer) {
    PixelRun const run = {z, c, t, pixelStartOffset, nbPixels};
    ByteRun const bytes = locate(*_planOffsets, getGeometry(), run, VELMO_HERE);
    FStreamPtr pStream;
    BoolResult found = findThreadFStream(pStream);
    if (!found) {
        return found;
    }
    return toResult(writeRun(*pStream, bytes, buffer), Message::eRIFM_WriteFileFailed, getFilePath().string(),
                    run);
}

BoolResult RawImageFile::resizeData(BaseImageGeometry const& geometry) {
    vlUInt64 const end = processOffsets(0, geometry);
    FStreamPtr pStream;
    BoolResult found = findThreadFStream(pStream);
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
        archive << oItem("dataStartOffset", _planOffsets->getDataStartOffset());
    }
    return success();
}

BoolResult RawImageFile::read(BaseIArchive& archive) {
    ClearUnlessKept unlessOpened(*this);
    BoolResult result = BaseDiskImageAccessor::read(archive);
    if (!result) {
        return result;
    }
    readClassVersion(archive, getClassName(), getVersion(), VELMO_HERE);
    clearDerived();
    if (!isInit()) {
        return success();
    }
    vlUInt64 dataStartOffset = 0;
    archive >> iItem("dataStartOffset", dataStartOffset);
    result = openFileInternal(getFilePath(), getAccessMode(), dataStartOffset, getGeometry(),
                              hasSharedRemoteAccess());
    if (result) {
        unlessOpened.keep();
    }
    return result;
}

} // namespace file
} // namespace image
} // namespace velmo
