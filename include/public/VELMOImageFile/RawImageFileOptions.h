// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <string>

namespace velmo::image::file {

/// How `saveRawImageFile` writes.
struct VELMO_IMAGE_FILE_EXPORT RawWriteOptions {
    /// Bytes before the first plane. Their number is the `dataStartOffset` of a later load.
    std::string fileHeader;
    /// Writes a temporary file beside the target and renames it when it is whole, so that an existing file
    /// survives a failed or killed save. The folder must allow new files. Without it the target is emptied
    /// first and written in place.
    bool bReplaceWhenWhole = true;
};

} // namespace velmo::image::file
