// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of raw image files, by id. Ids never change, even if the message is no longer used.
struct eRawImageFileMessage {
    /// docs/messages.md has the text, the cause and the remedy of each.
    enum domain {
        eRIFM_CreateFileFailed = 0,
        eRIFM_CreateFileError = 1,
        eRIFM_CreateDistributedImageError = 2,
        eRIFM_WriteFileHeaderError = 3,
        eRIFM_GeometryExceedsFileSize = 4,
        eRIFM_InvalidPlanIndexes = 5,
        eRIFM_LoadFileError = 6,
        eRIFM_OpenFileFailed = 7,
        eRIFM_ReadFileFailed = 8,
        eRIFM_ReserveFailed = 9,
        eRIFM_ReserveError = 10,
        eRIFM_SaveFileError = 11,
        eRIFM_SeekFailed = 12,
        eRIFM_WriteFileFailed = 13,
        eRIFM_WriteFileError = 14
    };
};

} // namespace velmo::image::file
