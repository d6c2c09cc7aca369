// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Export.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// @file
/// Im6 files as images. A file tells its own geometry, and it may carry a calibration. Im6ImageFile tells
/// what lies in it, and gives access on demand. Example: examples/load_im6.cpp.
///
/// Every failure is logged at ERROR and thrown as VELMOImageFileException, with the path in double quotes
/// and, behind a line feed, what went wrong. A file that is no Im6 file comes as VELMOImageException. Too
/// little memory for the pixels is such a failure; for anything smaller it may come as std::bad_alloc. Any
/// number of calls may run at once.
///
/// No function takes options: each returns the pixels that the file holds, or throws. The loads into an image
/// in memory return the calibration as well; the distributed ones never do.

/// Gives `image`, which must be of a kind that accepts `init`, the file's geometry, then its pixels, on the
/// calling thread, and its calibration, if it has one. After a failure the image is what it was, or has the
/// geometry and the pixels so far. An empty pointer is thrown as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT void loadIm6ImageFile(boost::filesystem::path const& path, ImagePtr const& image);

/// A new image in memory.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadIm6ImageFile(boost::filesystem::path const& path);

/// A new distributed image, without the calibration that the file may carry. With `defaultDispatch` its
/// workers read at once, else the calling thread reads alone.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path,
                                                                        bool defaultDispatch);

/// The same: nothing of `reference` is used.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedIm6ImageFile(boost::filesystem::path const& path,
                                                                        DistributedImage const& reference,
                                                                        bool defaultDispatch);

} // namespace velmo::image::file
