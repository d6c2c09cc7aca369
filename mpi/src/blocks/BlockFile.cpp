// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "blocks/BlockFile.h"

#include "blocks/PlaneRun.h"

#include <VELMOBase/SystemResult.h>
#include <VELMOBase/TransferAll.h>
#include <VELMOImageFile/RawImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Failures.h>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmo::image::mpi {

using Message = file::eRawImageFileMessage;

RaiseKind const g_saveRaise = {file::getVELMOImageFileLogMessageManager, file::getVELMOImageFileLogger,
                               throwAs<file::VELMOImageFileException>};

namespace {

class WrittenFile {
  public:
    explicit WrittenFile(std::string const& path) : _descriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC)) {}
    ~WrittenFile() {
        if (_descriptor >= 0) {
            ::close(_descriptor);
        }
    }
    WrittenFile(WrittenFile const&) = delete;
    WrittenFile& operator=(WrittenFile const&) = delete;

    int get() const { return _descriptor; }

    bool hasSize(vlUInt64 size) const {
        struct stat state = {};
        return fstat(_descriptor, &state) == 0 && static_cast<vlUInt64>(state.st_size) == size;
    }

    int close() { return ::close(std::exchange(_descriptor, -1)) == 0 ? 0 : errno; }

  private:
    int _descriptor;
};

Transferred writeBytes(WrittenFile const& target, BlockMemory const& memory, vlUInt64 offset) {
    return transferAll(memory.nbBytes, [&](std::uint64_t done) {
        return pwrite(target.get(), memory.pBytes.get() + done, memory.nbBytes - done,
                      static_cast<off_t>(offset + done));
    });
}

/// The plane of the block that contains its byte number `nbDone`.
PlanIndexes findPlane(BaseImageGeometry const& geometry, PlanBlock const& block, vlUInt64 nbDone) {
    vlUInt64 const start = geometry.getPlansMemorySize(block.firstPlan);
    vlUInt64 plane = block.firstPlan;
    while (plane + 1 < block.firstPlan + block.nbPlans &&
           geometry.getPlansMemorySize(plane + 1) - start <= nbDone) {
        ++plane;
    }
    return geometry.getPlanIndexes(plane);
}

} // namespace

BoolResult writeBlockToFile(BaseImageGeometry const& geometry, PlanBlock const& block,
                            BlockMemory const& memory, FilePart const& part) {
    BoolResult inMemory = requireWholeBlock(geometry, block, memory);
    if (!inMemory || memory.nbBytes == 0) {
        return inMemory;
    }
    auto const fail = [&](vlUInt64 nbDone, std::string const& reason) {
        PlanIndexes const plane = findPlane(geometry, block, nbDone);
        return failMessage(g_saveRaise, Message::eRIFM_WriteFileError, part.path, plane.z, plane.c, plane.t,
                           0, geometry.getPlanNbPixels(), reason);
    };
    WrittenFile target(part.path);
    if (target.get() < 0) {
        return fail(0, SystemResult(errno).getMessage());
    }
    if (!target.hasSize(part.fileSize)) {
        return fail(0, "The rank sees another file than rank 0");
    }
    Transferred const written = writeBytes(target, memory, part.offset);
    int const error = written.error != 0 ? written.error : target.close();
    return error == 0 ? success() : fail(written.nbBytes, SystemResult(error).getMessage());
}

} // namespace velmo::image::mpi
