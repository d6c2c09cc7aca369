// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFileMessage.h>

#include "Frame/MessageCatalogue.h"

namespace velmo::image::file {

namespace {

using Message = eRawImageFileMessage;

constexpr CatalogueEntry<Message::domain> g_messages[] = {
    {Message::eRIFM_CreateFileFailed, "Failed to create raw image file %s"},
    {Message::eRIFM_CreateFileError, "Failed to create raw image file %s\n%s"},
    {Message::eRIFM_CreateDistributedImageError, "Failed to create distributed image\n%s"},
    {Message::eRIFM_WriteFileHeaderError, "Failed to write file header for file %s\n%s"},
    {Message::eRIFM_GeometryExceedsFileSize,
     "Input geometry with total size %lld and starting offset %lld is greater than global file size "
     "%lld for raw image file %s"},
    {Message::eRIFM_InvalidPlanIndexes, "Invalid plan component indexes z=%d c=%d t=%d"},
    {Message::eRIFM_LoadFileError, "Error while loading raw image file %s\n%s"},
    {Message::eRIFM_OpenFileFailed, "Failed to open raw image file %s"},
    {Message::eRIFM_ReadFileFailed, "Failed to read raw image file %s for z=%d, c=%d, t=%d, "
                                    "pixelStartOffset=%lld and nbPixels=%lld"},
    {Message::eRIFM_ReserveFailed, "Failed to reserve %lld bytes for raw image file %s"},
    {Message::eRIFM_ReserveError, "Failed to reserve %lld bytes for raw image file %s\n%s"},
    {Message::eRIFM_SaveFileError, "Error while saving raw image file %s\n%s"},
    {Message::eRIFM_SeekFailed,
     "Failed to seek position into raw image file %s for z=%d, c=%d, t=%d and pixelStartOffset=%lld"},
    {Message::eRIFM_WriteFileFailed, "Failed to write raw image file %s for z=%d, c=%d, t=%d, "
                                     "pixelStartOffset=%lld and nbPixels=%lld"},
    {Message::eRIFM_WriteFileError, "Failed to write raw image file %s for z=%d, c=%d, t=%d, "
                                    "pixelStartOffset=%lld and nbPixels=%lld\n%s"},
};

} // namespace

template <>
bool MsgMapRegistrator<Message::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred, g_messages);
}

} // namespace velmo::image::file
