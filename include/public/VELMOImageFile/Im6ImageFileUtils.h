// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// @file
/// Functions that read Im6 files. A file contains its geometry and may contain a calibration. Im6ImageFile
/// documents the layout of the file and reads parts of it on demand. Example: examples/load_im6.cpp.
///
/// Each function returns the pixels of the file or throws; there are no options. Loads into memory also
/// return the calibration; loads into distributed images do not.
///
/// Every error is logged at ERROR and thrown as VELMOImageFileException: the first line of its text contains
/// the path in double quotes, the last line is the reason. A file that is not an Im6 file is thrown as
/// VELMOImageException. If there is too little memory for the pixels, the error is a VELMOImageFileException;
/// for smaller allocations it may be std::bad_alloc. Thread-safe.

/// Loads a file into `image`, which receives the geometry, the pixels and, if the file has one, the
/// calibration. The image must be of a kind that accepts `init`, such as a MemoryImage. The calling thread
/// reads. After an error the image is unchanged, or has the geometry of the file and the pixels read so far.
/// An empty pointer is thrown as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT void loadIm6ImageFile(boost::filesystem::path const& path, ImagePtr const& image);

/// Loads a file into a new image in memory. The calling thread reads.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadIm6ImageFile(boost::filesystem::path const& path);

/// Loads a file into a new distributed image, without the calibration of the file. If `defaultDispatch` is
/// true, the workers of the image read in parallel; otherwise the calling thread reads.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path,
                                                                        bool defaultDispatch);

/// The same; `reference` is not used.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path,
                                                                        DistributedImage const& reference,
                                                                        bool defaultDispatch);

} // namespace velmo::image::file
