// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages about files that do not contain what they announce, by id. A call with options fails with such a
/// message. A plain call, or a call with `bTolerant`, that continues logs it as a warning. Ids never change.
struct eImageFileCheckMessage {
    /// docs/messages.md has the text, the cause and the remedy of each.
    enum domain {
        eIFCM_StripsNotDecoded = 0,
        eIFCM_RowsNotDecoded = 1,
        eIFCM_ChainBreaksOff = 2,
        eIFCM_PlanesMissing = 3,
        eIFCM_PlaneOutsideFile = 4,
        eIFCM_PlanesNotLocated = 5,
        eIFCM_PlanesNotConverted = 6,
        eIFCM_PartReadElsewhere = 7,
        eIFCM_PackedRunShifted = 8,
        eIFCM_DirectoryNumberCut = 9,
        eIFCM_StripNotWritten = 10,
        eIFCM_RunOutsidePlane = 11,
        eIFCM_DirectoryMismatch = 12,
        eIFCM_StripTooSmall = 13,
        eIFCM_StripNotWritable = 14,
        eIFCM_ZeroByteInText = 15,
        eIFCM_ImageExceedsFile = 16,
        eIFCM_TooManyPages = 17,
        eIFCM_ImageWithoutPixels = 18,
        eIFCM_FileMadeAnew = 19,
        eIFCM_CopyNotFinished = 20,
        eIFCM_OffsetCut = 21,
        eIFCM_ChannelsNotSeparated = 22
    };
};

} // namespace velmo::image::file
