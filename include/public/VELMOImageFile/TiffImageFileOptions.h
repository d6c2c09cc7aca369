// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Threads.h>
#include <VELMOImageFile/TiffImageFileTypes.h>

namespace velmo::image::file {

/// Options of the functions that read TIFF files.
struct TiffReadOptions {
    /// How to interpret the directories of a file that this library did not write.
    eTiffDirectoryMode directories = eTDM_Volume;
    /// How to interpret the samples of a file that this library did not write.
    eTiffBufferMode pixels = eTBM_Default;
    /// False: pixels that cannot be read are an error. True: they are zero, and a warning is logged; if the
    /// chain of directories is broken, the image contains the planes before the break.
    bool bTolerant = false;
    /// Threads that read and decode. Their number changes neither the pixels nor the error of a failure.
    processor::ProcessorDispatchPolicy threads = useAllProcessors();
};

/// Options of the functions that write TIFF files.
struct TiffWriteOptions {
    /// Compression of the strips.
    eTiffCompression compression = eTC_None;
    /// True: the file is written under a temporary name in the folder of the target and renamed when it is
    /// complete. A failed or killed save leaves an old file unchanged. The user must be allowed to create
    /// files in the folder, and the disk needs room for both files. False: an old file is emptied and
    /// overwritten at once.
    bool bReplaceWhenWhole = true;
    /// Threads that read from the image and encode. Their number does not change the file.
    processor::ProcessorDispatchPolicy threads = useAllProcessors();
};

} // namespace velmo::image::file
