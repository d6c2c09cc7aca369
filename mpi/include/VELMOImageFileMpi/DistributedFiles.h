// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <VELMOImageFileMpi/Export.h>
#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::image::mpi {

/// Saves an image as a raw file that all ranks write at once, each its own planes. The file is byte for byte
/// that of `saveRawImageFile` with options: it is written under a temporary name in the folder of the target
/// and renamed when it is complete, and an old file is unchanged after an error. All ranks must see the
/// folder of the target under the same path.
///
/// Every error is logged and thrown as VELMOImageFileException, with the messages of `saveRawImageFile`.
VELMO_MPI_EXPORT void saveDistributedRawImageFile(boost::filesystem::path const& path,
                                                  DistributedImagePtr const& pImage,
                                                  std::string const& fileHeader = std::string());

/// Saves an image as `saveTiffImageFile` does, and reads the planes when they are needed: rank 0 holds a few
/// planes at a time. If rank 0 is killed, the other ranks remove the temporary file.
///
/// Every error is logged and thrown as VELMOImageFileException, with the messages of `saveTiffImageFile`.
VELMO_MPI_EXPORT void
saveDistributedTiffImageFile(boost::filesystem::path const& path, DistributedImagePtr const& pImage,
                             file::TiffWriteOptions const& options = file::TiffWriteOptions());

/// An image that reads the planes of `pImage` when they are needed, so that a save as TIFF, raw or Im6 file
/// holds a few planes at a time in the memory of rank 0. Without it a save copies the whole image there
/// first. It has the calibration and the user properties of `pImage`, cannot be written, and co-owns
/// `pImage`.
VELMO_MPI_EXPORT ImageConstPtr streamPlanes(DistributedImagePtr const& pImage);

} // namespace velmo::image::mpi
