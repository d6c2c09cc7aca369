// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/Im6ImageFileMessage.h>

#include "Frame/MessageCatalogue.h"

namespace velmo::image::file {

namespace {

using Message = eIm6ImageFileMessage;

constexpr CatalogueEntry<Message::domain> g_messages[] = {
    {Message::eI6FM_CreateFileFailed, "Failed to create im6 image file %s"},
    {Message::eI6FM_CreateFileError, "Failed to create im6 image file %s\n%s"},
    {Message::eI6FM_CreateDistributedImageError, "Failed to create distributed image\n%s"},
    {Message::eI6FM_WriteFileHeaderError, "Failed to write file header for file %s\n%s"},
    {Message::eI6FM_GeometryExceedsFileSize,
     "Input geometry with total size %lld and starting offset %lld is greater than global file size "
     "%lld for im6 image file %s"},
    {Message::eI6FM_InvalidPlanIndexes, "Invalid plan component indexes z=%d c=%d t=%d"},
    {Message::eI6FM_LoadFileError, "Error while loading im6 image file %s\n%s"},
    {Message::eI6FM_OpenFileFailed, "Failed to open im6 image file %s"},
    {Message::eI6FM_ReadFileFailed, "Failed to read im6 image file %s for z=%d, c=%d, t=%d, "
                                    "pixelStartOffset=%lld and nbPixels=%lld"},
    {Message::eI6FM_ReserveFailed, "Failed to reserve %lld bytes for im6 image file %s"},
    {Message::eI6FM_ReserveError, "Failed to reserve %lld bytes for im6 image file %s\n%s"},
    {Message::eI6FM_SaveFileError, "Error while saving im6 image file %s\n%s"},
    {Message::eI6FM_SeekFailed,
     "Failed to seek position into im6 image file %s for z=%d, c=%d, t=%d and pixelStartOffset=%lld"},
    {Message::eI6FM_WriteFileFailed, "Failed to write im6 image file %s for z=%d, c=%d, t=%d, "
                                     "pixelStartOffset=%lld and nbPixels=%lld"},
    {Message::eI6FM_WriteFileError, "Failed to write im6 image file %s for z=%d, c=%d, t=%d, "
                                    "pixelStartOffset=%lld and nbPixels=%lld\n%s"},
};

} // namespace

template <>
bool MsgMapRegistrator<Message::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred, g_messages);
}

} // namespace velmo::image::file
