// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/RawImageFileOptions.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/path.hpp>
#include <type_traits>

namespace velmo::image::file {

/// @file
/// Functions that read and write headerless pixel files. The file has no description: the caller gives the
/// geometry, and with `dataStartOffset` the number of bytes before the first plane. RawImageFile documents
/// the order of the planes. Example: examples/raw_volume.cpp.
///
/// The open and the loads take no options: each of them, and each read of an open image, returns the pixels
/// that the file holds, or fails.
///
/// Every error is logged at ERROR and thrown as VELMOImageFileException: the first line of its text has the
/// path in double quotes, the last line is the reason. Errors of the image library (a target that does not
/// fit, a geometry whose size overflows 64 bits) are thrown as its own exceptions. If there is too little
/// memory for the pixels, the error is a VELMOImageFileException; for smaller allocations it may be
/// std::bad_alloc.
///
/// Any number of calls may run at once on different files, and any number of reads on one file. Two saves to
/// one path must not run at once; with options and `bReplaceWhenWhole` the file is then one of the two,
/// whole.

/// Opens a file as an image whose pixels stay in the file. The file is open for reading as long as the image
/// lives. Any number of threads may read from the image at once.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openRawImageFile(boost::filesystem::path const& path,
                                                      BaseImageGeometry const& geometry,
                                                      vlUInt64 dataStartOffset = 0);

/// Loads all planes into `image`, which must have the sizes and the pixel types of `geometry` already. The
/// calling thread reads. After an error the image has the pixels read so far.
VELMO_IMAGE_FILE_EXPORT void loadRawImageFile(boost::filesystem::path const& path,
                                              BaseImageGeometry const& geometry, ImagePtr const& image,
                                              vlUInt64 dataStartOffset = 0);

/// Loads all planes into a new image in memory. The calling thread reads. Memory is allocated before the file
/// is opened.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadRawImageFile(boost::filesystem::path const& path,
                                                  BaseImageGeometry const& geometry,
                                                  vlUInt64 dataStartOffset = 0);

/// Loads all planes into a new distributed image. With `defaultDispatch` the workers of the image read at
/// once; without it the calling thread reads.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        BaseImageGeometry const& geometry,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// The same with the geometry of `model` and the pixel type `bufferType`. Nothing else of `model` is used.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        DistributedImage const& model,
                                                                        eImageBufferType const& bufferType,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// Writes the header and all planes, from the calling thread. The file loads again with the same geometry and
/// the length of the header as `dataStartOffset`.
///
/// After an error an old file is as it was, unless `bReplaceWhenWhole` is false: then the file is incomplete.
/// A disk image cannot be saved over its own file, which is an error. If the system failed, the last line of
/// the message is its reason, such as "No space left on device".
///
/// `options` must be a RawWriteOptions. A third argument in braces is a header, as in the function below.
template <class Options, class = std::enable_if_t<std::is_same_v<Options, RawWriteOptions>>>
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              Options const& options);

/// The plain call. Writes the same file in place: an old file is emptied first, and a failed save leaves an
/// incomplete file. The message of a file that cannot be created, reserved or written does not have the
/// reason of the system.
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              std::string const& fileHeader = std::string());

} // namespace velmo::image::file
