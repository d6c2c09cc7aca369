// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/Im6ImageFile.h>

#include "Frame/AccessorIdiom.h"
#include "Frame/FailureText.h"
#include "Im6/Im6Records.h"
#include "Planes/PlaneFile.h"
#include "Planes/StreamRuns.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/Im6ImageFileMessage.h>
#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/ClassVersion.h>

namespace velmo::image::file {

namespace {

using Message = eIm6ImageFileMessage;

constexpr PlaneFileMessages g_messages = {"N5velmo5image4file20eIm6ImageFileMessage6domainE",
                                          Message::eI6FM_OpenFileFailed,
                                          Message::eI6FM_InvalidPlanIndexes,
                                          Message::eI6FM_SeekFailed,
                                          Message::eI6FM_ReadFileFailed,
                                          Message::eI6FM_WriteFileFailed};

/// Bytes from the start of the file to the end of the third block. If the number overflows 64 bits, the
/// largest one, which no file reaches.
vlUInt64 getEndOfBlocks(HeaderData const& header, vlUInt64 endOfPlanes) {
    return checkedAdd(endOfPlanes,
                      vlUInt64{header.textBlockSize} + header.secondBlockSize + header.thirdBlockSize)
        .value_or(NumericLimits<vlUInt64>::s_max);
}

/// Whether the last read ended with an error of the operating system, not at the end of the file.
bool isRefused(std::fstream const& stream) {
    return stream.bad();
}

/// Reads the calibration record after the blocks. If this fails, the error state of the stream is cleared;
/// the caller then finds that the file is too short or unreadable. A stream that failed before keeps its
/// error state.
GeometricCalibrationPtr readCalibration(HeaderData const& header, vlUInt64 offset, bool is2d,
                                        std::fstream& stream) {
    if (!stream.good()) {
        return {};
    }
    CalibrationData data{};
    if (readRun(stream, {offset, sizeof(data)}, &data) != eStreamOutcome::Done) {
        stream.clear();
        return {};
    }
    return calibDataToGeometricCalibration(header, data, is2d);
}

} // namespace

Im6ImageFile::Im6ImageFile() : _planes(new PlaneFile(g_messages)) {}

Im6ImageFile::~Im6ImageFile() = default;

VELMO_DEFINE_ACCESSOR_IDENTITY(Im6ImageFile, "velmo::image::file::Im6ImageFile", 1)

// Opening

BoolResult Im6ImageFile::openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode) {
    boost::filesystem::path const kept(path); // NOLINT(*-unnecessary-copy*): may be the accessor's own
    clear();
    return openFileInternal(kept, accessMode, false);
}

BoolResult Im6ImageFile::openSharedRemoteFile(boost::filesystem::path const& path,
                                              eImageAccessMode const& accessMode) {
    boost::filesystem::path const kept(path); // NOLINT(*-unnecessary-copy*): may be the accessor's own
    clear();
    return openFileInternal(kept, accessMode, true);
}

// Reads that end at the end of the file are not checked one by one: the stream keeps its error state, its
// position is then -1, and -1 as an unsigned number is larger than every size. A read that the operating
// system rejects is an error.
BoolResult Im6ImageFile::openFileInternal(boost::filesystem::path const& path,
                                          eImageAccessMode const& accessMode, bool sharedRemote) {
    FStreamPtr const pStream = openStream(path, accessMode);
    if (!pStream->good()) {
        return fail(Message::eI6FM_OpenFileFailed, path.string());
    }
    HeaderData header{};
    pStream->read(reinterpret_cast<char*>(&header), sizeof(header));
    if (isRefused(*pStream)) {
        return fail(Message::eI6FM_OpenFileFailed, path.string());
    }
    ImageGeometryPtr const pGeometry = headerToGeometry(header);
    vlUInt64 required = getEndOfBlocks(header, processOffsets(sizeof(header), *pGeometry));
    GeometricCalibrationPtr pCalibration;
    bool const bCalibrated =
        fileContainsGeometricCalibration(header, pGeometry->getFullMemorySize(), *pStream);
    if (bCalibrated) {
        pCalibration = readCalibration(header, required, pGeometry->getVolumeGeometry().is2d(), *pStream);
        required = checkedAdd(required, sizeof(CalibrationData)).value_or(NumericLimits<vlUInt64>::s_max);
    }
    bool const bWhole = pStream->good();
    pStream->seekg(0, std::ios::end);
    if (isRefused(*pStream) || (bWhole && pStream->fail())) {
        return fail(Message::eI6FM_OpenFileFailed, path.string());
    }
    auto const fileSize = static_cast<vlUInt64>(static_cast<std::streamoff>(pStream->tellg()));
    if (fileSize < required) {
        return accessMode == eIAM_ReadOnly
                   ? fail(Message::eI6FM_GeometryExceedsFileSize, required - sizeof(header), sizeof(header),
                          fileSize, path.string())
                   : fail(Message::eI6FM_ReserveFailed, required, path.string());
    }
    if (bCalibrated && !pCalibration && pStream->good()) { // the record is in the file but was not read
        return fail(Message::eI6FM_OpenFileFailed, path.string());
    }
    _planes->accessStreams().insert(pStream);
    initBase(path, accessMode, *pGeometry, pCalibration, sharedRemote);
    return success();
}

vlUInt64 Im6ImageFile::processOffsets(vlUInt64 firstOffset, BaseImageGeometry const& geometry) {
    return _planes->accessPlanes().process(firstOffset, geometry);
}

void Im6ImageFile::clearDerived() {
    _planes->accessStreams().closeAll();
}

// Pixels

bool Im6ImageFile::hasBinary8BitsStorage() const {
    requireInitialised(VELMO_HERE, *this);
    return true;
}

BoolResult Im6ImageFile::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                     vlUInt64 nbPixels, void* buffer) const {
    return _planes->read(*this, {z, c, t, pixelStartOffset, nbPixels}, buffer, VELMO_HERE);
}

BoolResult Im6ImageFile::writeRawData(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                      vlUInt64 /*pixelStartOffset*/, vlUInt64 /*nbPixels*/,
                                      void const* /*buffer*/) {
    return success();
}

BoolResult Im6ImageFile::resizeData(BaseImageGeometry const& /*geometry*/) {
    return success();
}

// Archives

BoolResult Im6ImageFile::write(BaseOArchive& archive) const {
    BoolResult result = BaseDiskImageAccessor::write(archive);
    if (result) {
        writeClassVersion(archive, getClassName(), getVersion());
    }
    return result;
}

BoolResult Im6ImageFile::read(BaseIArchive& archive) {
    return readAccessor(
        *this, archive, VELMO_HERE, [] {},
        [this] {
            boost::filesystem::path const path(
                getFilePath()); // a copy, because the opening replaces the accessor's path
            return openFileInternal(path, getAccessMode(), hasSharedRemoteAccess());
        });
}

} // namespace velmo::image::file
