// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/PlaneFile.h"

#include "Frame/LogAccess.h"
#include "Planes/StreamRuns.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/LogMessageFormater.h>

namespace velmo::image::file {

namespace {

ByteRun locate(PlaneTable const& planes, PlaneFileMessages const& messages, BaseImageGeometry const& geometry,
               PlaneRun const& run, RaiseSite const& site) {
    ImagePlanGeometry const plane = geometry.getPlanGeometry(run.t);
    auto const planeOffset = planes.find(run.z, run.c, run.t);
    if (!planeOffset) {
        raiseGuarded(site, g_velmoImageFileRaise, [&](LogMessageFormater& formater) {
            formater.setMsgId(messages.domainKey, messages.invalidPlanIndexes) % run.z % run.c % run.t;
        });
    }
    return toByteRun(*planeOffset, run.pixelStart, run.nbPixels,
                     getBufferBaseSize(toDataType(plane.getBufferType())));
}

BoolResult toResult(eStreamOutcome outcome, PlaneFileMessages const& messages, int transferFailed,
                    BaseDiskImageAccessor const& accessor, PlaneRun const& run) {
    if (outcome == eStreamOutcome::Done) {
        return success();
    }
    ErrnoGuard const keptErrno;
    bool const bSeek = outcome == eStreamOutcome::SeekFailed;
    LogMessageFormater formater(getVELMOImageFileLogMessageManager());
    formater.setMsgId(messages.domainKey, bSeek ? messages.seekFailed : transferFailed) %
        accessor.getFilePath().string() % run.z % run.c % run.t % run.pixelStart;
    if (!bSeek) {
        formater % run.nbPixels;
    }
    return failure(formater);
}

} // namespace

BoolResult PlaneFile::findStream(BaseDiskImageAccessor const& accessor, FStreamPtr& pStream) {
    pStream = _streams.find(accessor.getFilePath(), accessor.getAccessMode());
    if (pStream) {
        return success();
    }
    ErrnoGuard const keptErrno;
    LogMessageFormater formater(getVELMOImageFileLogMessageManager());
    formater.setMsgId(_messages.domainKey, _messages.openFileFailed) % accessor.getFilePath().string();
    return failure(formater);
}

BoolResult PlaneFile::read(BaseDiskImageAccessor const& accessor, PlaneRun const& run, void* buffer,
                           RaiseSite const& site) {
    FStreamPtr pStream;
    BoolResult found = findStream(accessor, pStream);
    if (!found) {
        return found;
    }
    ByteRun const bytes = locate(_planes, _messages, accessor.getGeometry(), run, site);
    return toResult(readRun(*pStream, bytes, buffer), _messages, _messages.readFileFailed, accessor, run);
}

BoolResult PlaneFile::write(BaseDiskImageAccessor const& accessor, PlaneRun const& run, void const* buffer,
                            RaiseSite const& site) {
    ByteRun const bytes = locate(_planes, _messages, accessor.getGeometry(), run, site);
    FStreamPtr pStream;
    BoolResult found = findStream(accessor, pStream);
    if (!found) {
        return found;
    }
    return toResult(writeRun(*pStream, bytes, buffer), _messages, _messages.writeFileFailed, accessor, run);
}

} // namespace velmo::image::file
