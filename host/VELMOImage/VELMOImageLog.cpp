// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/VELMOImageLog.h"

#include "VELMOUtil/LogMessageManager.h"
#include "VELMOUtil/Logging.h"

namespace velmo::image {

namespace {

LibraryLog& getLog() {
    static LibraryLog log("VELMOImage");
    return log;
}

void registerAccessorMessages(LogMessageManager& manager) {
    using Message = eImageAccessorMessage;
    manager.addMessage(Message::eIAM_NotInitialised, "The image accessor is not initialised");
    manager.addMessage(Message::eIAM_InvalidFileFormat, "The image file is not of the expected format");
}

void registerImageMessages(LogMessageManager& manager) {
    using Message = eImageMessage;
    manager.addMessage(Message::eIM_GeometryTooLarge,
                       "An image of sizes x=%d y=%d z=%d c=%d t=%d has more bytes than 64 bits can count");
    manager.addMessage(
        Message::eIM_BufferTypesCount,
        "%d buffer types fit neither the time steps nor the planes of an image of sizes z=%d t=%d");
    manager.addMessage(Message::eIM_TimeStepOutOfRange,
                       "Time step %d lies outside of an image of %d time steps");
    manager.addMessage(
        Message::eIM_PixelsOutOfRange,
        "The run from pixel %d of %d pixels in plane z=%d c=%d t=%d lies outside of an image of sizes "
        "z=%d c=%d t=%d with planes of %d pixels");
    manager.addMessage(Message::eIM_ChannelOutOfRange,
                       "Channel %d lies outside of a color geometry of %d channels");
    manager.addMessage(Message::eIM_MemoryTooSmall,
                       "The image needs %d bytes of memory, and %d bytes are available");
    manager.addMessage(Message::eIM_AllocationFailed, "Failed to allocate %d bytes for the image");
    manager.addMessage(Message::eIM_AccessorMissing, "A disk image needs an accessor");
    manager.addMessage(Message::eIM_AccessorNotReady, "A disk image needs an accessor that has a file open");
    manager.addMessage(Message::eIM_InitNotSupported,
                       "This kind of image takes its geometry at construction");
    manager.addMessage(Message::eIM_CpuCopyFailed, "Failed to copy the image into memory\n%s");
    manager.addMessage(Message::eIM_NoWorker, "A distributed image needs a worker");
    manager.addMessage(Message::eIM_NotInitialised, "The image has no geometry yet");
    manager.addMessage(Message::eIM_RecordWithoutGeometry,
                       "The archive holds an initialised accessor without a geometry");
    manager.addMessage(Message::eIM_RecordWithoutAccessor, "The record of the accessor holds no accessor");
    manager.addMessage(Message::eIM_BinaryPacked,
                       "A disk image takes binary pixels as one byte each, and accessor %s packs them");
    manager.addMessage(Message::eIM_PixelsInTarget, "The pixels of the image to save lie in %s itself");
}

void registerJoinMessages(LogMessageManager& manager) {
    using Message = eImageMessage;
    manager.addMessage(Message::eIM_NothingToJoin, "There are no images to join");
    manager.addMessage(Message::eIM_PartMismatch, "Image %d (%s) cannot be joined to the first one (%s)");
    manager.addMessage(Message::eIM_PartNotUniform,
                       "Image %d (%s) cannot be joined: its plane z=%d is of type %s");
    manager.addMessage(Message::eIM_PartTimeSteps,
                       "Image %d (%s) has %d time steps: only images of one time step are joined along Z");
    manager.addMessage(Message::eIM_PartMissing, "Image %d of those to join is missing");
    manager.addMessage(Message::eIM_PartNotOnDisk, "Image %d of those to join is no disk image");
    manager.addMessage(Message::eIM_JoinedResize, "Joined images have the sizes of their parts");
}

void registerPixelMessages(LogMessageManager& manager) {
    using Message = eImageMessage;
    manager.addMessage(Message::eIM_PixelTypeMismatch,
                       "Plane z=%d c=%d t=%d of %s has pixels of type %s, which need %s, not %s");
    manager.addMessage(Message::eIM_RowOutOfRange,
                       "Plane z=%d c=%d t=%d of %s has %d rows, and row y=%d is asked for");
    manager.addMessage(Message::eIM_PixelCountMismatch,
                       "Plane z=%d c=%d t=%d of %s has %d pixels, and %d are given");
    manager.addMessage(Message::eIM_PlaneNotInMemory,
                       "Plane z=%d c=%d t=%d of %s is not in memory: it can be read, not viewed");
    manager.addMessage(Message::eIM_ReadPlaneFailed, "Failed to read plane z=%d c=%d t=%d of %s\n%s");
    manager.addMessage(Message::eIM_WritePlaneFailed, "Failed to write plane z=%d c=%d t=%d of %s\n%s");
    manager.addMessage(Message::eIM_ImageMissing, "The pointer to the image is empty");
    manager.addMessage(Message::eIM_PlaneOutOfRange,
                       "There is no plane z=%d c=%d t=%d in %s of sizes z=%d c=%d t=%d");
    manager.addMessage(Message::eIM_PixelOutOfView,
                       "Pixel x=%d y=%d lies outside of a plane of %d x %d pixels");
}

bool registerMessages() {
    LogMessageManager& manager = getVELMOImageLogMessageManager();
    registerAccessorMessages(manager);
    registerImageMessages(manager);
    registerJoinMessages(manager);
    registerPixelMessages(manager);
    return true;
}

bool const g_bMessagesRegistred = registerMessages();

} // namespace

LogMessageManager& getVELMOImageLogMessageManager() {
    return getLog().getManager();
}

log4cplus::Logger& getVELMOImageLogger() {
    return getLog().getLogger();
}

RaiseKind const g_velmoImageRaise = {getVELMOImageLogMessageManager, getVELMOImageLogger,
                                     throwAs<VELMOImageException>};

} // namespace velmo::image
