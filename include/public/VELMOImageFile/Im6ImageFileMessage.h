// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of Im6 image files, by id. Ids never change, even if the message is no longer used.
struct eIm6ImageFileMessage {
    /// docs/messages.md has the text, the cause and the remedy of each.
    enum domain {
        eI6FM_CreateFileFailed = 0,
        eI6FM_CreateFileError = 1,
        eI6FM_CreateDistributedImageError = 2,
        eI6FM_WriteFileHeaderError = 3,
        eI6FM_GeometryExceedsFileSize = 4,
        eI6FM_InvalidPlanIndexes = 5,
        eI6FM_LoadFileError = 6,
        eI6FM_OpenFileFailed = 7,
        eI6FM_ReadFileFailed = 8,
        eI6FM_ReserveFailed = 9,
        eI6FM_ReserveError = 10,
        eI6FM_SaveFileError = 11,
        eI6FM_SeekFailed = 12,
        eI6FM_WriteFileFailed = 13,
        eI6FM_WriteFileError = 14
    };
};

} // namespace velmo::image::file
