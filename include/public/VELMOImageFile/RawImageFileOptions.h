// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <string>

namespace velmo::image::file {

/// Options of `saveRawImageFile`.
struct VELMO_IMAGE_FILE_EXPORT RawWriteOptions {
    /// Bytes to write before the first plane. Pass their number as `dataStartOffset` to load the file.
    std::string fileHeader;
    /// True: the file is written under a temporary name in the folder of the target and renamed when it is
    /// complete. A failed or killed save leaves an old file unchanged. The user must be allowed to create
    /// files in the folder, and the disk needs room for both files. False: an old file is emptied and
    /// overwritten at once.
    bool bReplaceWhenWhole = true;
};

} // namespace velmo::image::file
