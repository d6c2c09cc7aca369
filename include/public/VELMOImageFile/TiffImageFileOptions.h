// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/TiffImageFileTypes.h>

namespace velmo::image::file {

/// How a TIFF file is read by the calls with options.
struct TiffReadOptions {
    /// How to interpret the directories of a file that this library did not write.
    eTiffDirectoryMode directories = eTDM_Volume;
    /// How to interpret the samples of a file that this library did not write.
    eTiffBufferMode pixels = eTBM_Default;
    /// False: what cannot be read is an error. True: it is zero and logged as a warning; of a chain of
    /// directories that breaks off, the planes before the break are the image.
    bool bTolerant = false;
};

/// How a TIFF file is written by the calls with options.
struct TiffWriteOptions {
    /// The compression of the strips.
    eTiffCompression compression = eTC_None;
    /// True: the file is written under a temporary name beside the target and renamed when it is whole, so
    /// that a failed or killed save leaves an old file as it was. False: an old file is overwritten at once,
    /// which needs no room for a second file.
    bool bReplaceWhenWhole = true;
};

} // namespace velmo::image::file
