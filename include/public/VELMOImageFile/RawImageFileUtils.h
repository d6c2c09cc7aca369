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
/// Functions that read and write headerless files of pixels. The file carries no dimensions: the caller
/// passes the geometry, and as `dataStartOffset` the number of bytes before the first plane. RawImageFile
/// documents the order of the planes. Example: examples/raw_volume.cpp.
///
/// The functions that open and load take no options. Each of them, and each read of an open image, returns
/// the pixels of the file or fails.
///
/// Every error is logged at ERROR and thrown as VELMOImageFileException: the first line of its text contains
/// the path in double quotes, the last line is the reason. Errors of the image library (a target that does
/// not fit, a geometry whose size overflows 64 bits) are thrown as the exceptions of that library. If there
/// is too little memory for the pixels, the error is a VELMOImageFileException; for smaller allocations it
/// may be std::bad_alloc.
///
/// Any number of calls may run at once on different files, and any number of reads on one file. Two saves to
/// one path may run at once only with options and `bReplaceWhenWhole`; the file is then the complete result
/// of one of them.

/// Opens a file as an image whose pixels stay in the file. The file is open for reading as long as the image
/// exists. Any number of threads may read from the image at once.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openRawImageFile(boost::filesystem::path const& path,
                                                      BaseImageGeometry const& geometry,
                                                      vlUInt64 dataStartOffset = 0);

/// Loads all planes into `image`, which must already have the sizes and the pixel types of `geometry`. The
/// calling thread reads. After an error the image contains the pixels read so far.
VELMO_IMAGE_FILE_EXPORT void loadRawImageFile(boost::filesystem::path const& path,
                                              BaseImageGeometry const& geometry, ImagePtr const& image,
                                              vlUInt64 dataStartOffset = 0);

/// Loads all planes into a new image in memory. The calling thread reads. Memory is allocated before the file
/// is opened.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadRawImageFile(boost::filesystem::path const& path,
                                                  BaseImageGeometry const& geometry,
                                                  vlUInt64 dataStartOffset = 0);

/// Loads all planes into a new distributed image. If `defaultDispatch` is true, the workers of the image
/// read in parallel; otherwise the calling thread reads.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        BaseImageGeometry const& geometry,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// The same with the geometry of `model` and the pixel type `bufferType`. Other properties of `model` are
/// ignored.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        DistributedImage const& model,
                                                                        eImageBufferType const& bufferType,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// Writes the header and all planes, on the calling thread. To load the file, pass the same geometry, and the
/// length of the header as `dataStartOffset`.
///
/// After an error an old file is unchanged, unless `bReplaceWhenWhole` is false: then the file is incomplete.
/// It is an error to save a disk image to its own file. If a system call failed, the last line of the message
/// is the text of the operating system, such as "No space left on device".
///
/// `options` must be a RawWriteOptions: a third argument in braces selects the function below, which takes a
/// header.
template <class Options, class = std::enable_if_t<std::is_same_v<Options, RawWriteOptions>>>
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              Options const& options);

/// The plain call. Writes the same file in place: an old file is emptied first, and a failed save leaves an
/// incomplete file. If the file cannot be created, extended or written, the message does not contain the text
/// of the operating system.
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              std::string const& fileHeader = std::string());

} // namespace velmo::image::file
