// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/ImageFileCheckMessage.h>

#include "Frame/MessageCatalogue.h"

namespace velmo::image::file {

namespace {

using Message = eImageFileCheckMessage;

constexpr CatalogueEntry<Message::domain> g_messages[] = {
    {Message::eIFCM_StripsNotDecoded,
     "%d strips of directory z=%d, c=%d, t=%d cannot be decoded, their pixels are zero; the first one:\n%s"},
    {Message::eIFCM_RowsNotDecoded,
     "%d rows of directory z=%d, c=%d, t=%d cannot be decoded, their pixels are zero; the first one:\n%s"},
    {Message::eIFCM_ChainBreaksOff, "The chain of directories breaks off behind directory %d of file %s"},
    {Message::eIFCM_PlanesMissing, "The description announces %d planes, file %s holds %d"},
    {Message::eIFCM_PlaneOutsideFile, "Plane z=%d, c=%d, t=%d of file %s ends behind the end of the file"},
    {Message::eIFCM_PlanesNotLocated,
     "The description announces %d planes, but the planes behind the first one cannot be located in file %s"},
    {Message::eIFCM_PlanesNotConverted,
     "Planes of file %s are not converted to the byte order of this machine"},
    {Message::eIFCM_PartReadElsewhere, "A part of plane z=%d, c=%d, t=%d of file %s is read from a wrong "
                                       "place: only whole planes are read correctly"},
    {Message::eIFCM_PackedRunShifted,
     "Packed pixels of directory z=%d, c=%d, t=%d of file %s are read from column %d instead of column %d"},
    {Message::eIFCM_DirectoryNumberCut,
     "Directory %d is addressed as directory %d of file %s: directory numbers have 16 bits"},
    {Message::eIFCM_StripNotWritten,
     "Strip %d of directory z=%d, t=%d of file %s was not written, it keeps its former pixels\n%s"},
    {Message::eIFCM_RunOutsidePlane, "Pixels %d to %d are not all inside the plane of %d pixels"},
    {Message::eIFCM_DirectoryMismatch, "The directory has planes of %d x %d pixels of %d bits, the image has "
                                       "planes of %d x %d pixels of %d bits"},
    {Message::eIFCM_StripTooSmall, "The strip has %d bytes in the file, too few for %d bytes of pixels"},
    {Message::eIFCM_StripNotWritable,
     "The strip has no known place in the file, or its compression cannot be written"},
    {Message::eIFCM_ZeroByteInText, "The text holds a zero byte, which would end it in the file"},
    {Message::eIFCM_ImageExceedsFile, "The file announces %d bytes of pixels and has %d bytes"},
    {Message::eIFCM_TooManyPages,
     "The image has %d pages, a file that can be loaded again holds at most %d of them"},
    {Message::eIFCM_ImageWithoutPixels, "The image has no pixels, its file could not be loaded again"},
    {Message::eIFCM_FileMadeAnew, "File %s of an archive record is missing and is created with zeros"},
    {Message::eIFCM_CopyNotFinished, "Not all pixels could be read, the missing ones are zero\n%s"},
    {Message::eIFCM_OffsetCut,
     "The first strip of file %s is read from byte %d instead of %d: only 32 bits of its offset are used"},
    {Message::eIFCM_ChannelsNotSeparated, "Channels of the planes of file %s are not separated"},
};

} // namespace

template <>
bool MsgMapRegistrator<Message::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred, g_messages);
}

} // namespace velmo::image::file
