// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <string>

namespace velmo::image::file {

/// Options of `saveRawImageFile`.
struct VELMO_IMAGE_FILE_EXPORT RawWriteOptions {
    /// Bytes before the first plane. A later load needs their number as `dataStartOffset`.
    std::string fileHeader;
    /// True: the file is written under a temporary name beside the target and renamed when it is whole, so
    /// that a failed or killed save leaves an old file as it was. The folder must allow new files, and the
    /// disk needs room for both. False: an old file is emptied and overwritten at once.
    bool bReplaceWhenWhole = true;
};

} // namespace velmo::image::file
