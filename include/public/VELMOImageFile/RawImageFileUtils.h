// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/RawImageFileOptions.h>
#include <boost/filesystem/path.hpp>
#include <type_traits>

namespace velmo::image::file {

/// @file
/// Headerless pixel files as images. The file describes nothing of itself: the caller gives the geometry, and
/// with `dataStartOffset` the bytes before the first plane. RawImageFile tells how the planes lie. Example:
/// examples/raw_volume.cpp.
///
/// Every failure is logged at ERROR and thrown as VELMOImageFileException, with the path in double quotes
/// and, behind a line feed, what went wrong. What the image library itself refuses (a target that does not
/// fit, a geometry beyond 64 bits) comes through as its own exception. Too little memory for the pixels is
/// such a failure; for anything smaller it may come as std::bad_alloc. Any number of calls may run at once on
/// different files; two saves to one path are not guarded against each other, but with options and
/// `bReplaceWhenWhole` the file is that of one of them, whole.
///
/// The open and the loads take no options: each returns the pixels that the file holds, or throws; so does
/// each read of an open image.

/// An image whose pixels stay in the file, which is open, for reading, as long as the image lives.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openRawImageFile(boost::filesystem::path const& path,
                                                      BaseImageGeometry const& geometry,
                                                      vlUInt64 dataStartOffset = 0);

/// Fills an image that has its geometry already, on the calling thread. After a failure it keeps what was
/// copied.
VELMO_IMAGE_FILE_EXPORT void loadRawImageFile(boost::filesystem::path const& path,
                                              BaseImageGeometry const& geometry, ImagePtr const& image,
                                              vlUInt64 dataStartOffset = 0);

/// A new image in memory, filled on the calling thread. The memory is taken before the file is opened.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadRawImageFile(boost::filesystem::path const& path,
                                                  BaseImageGeometry const& geometry,
                                                  vlUInt64 dataStartOffset = 0);

/// A new distributed image. With `defaultDispatch` its workers read at once, else the calling thread reads
/// alone.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        BaseImageGeometry const& geometry,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// The same with the geometry of `model`, of which nothing else is used, and another pixel type.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedRawImageFile(boost::filesystem::path const& path,
                                                                        DistributedImage const& model,
                                                                        eImageBufferType const& bufferType,
                                                                        vlUInt64 dataStartOffset,
                                                                        bool defaultDispatch);

/// Writes all planes, from the calling thread. When it returns, the file holds the header and the pixels; it
/// loads again with the same geometry and the header's length as `dataStartOffset`. When it throws, an
/// existing file is as it was, unless `bReplaceWhenWhole` is false, which leaves the file incomplete. A disk
/// image is not saved over its own file: that is refused.
///
/// The last line of the message is the reason of the system, such as "No space left on device", where the
/// system failed. RawWriteOptions alone is accepted: a third argument in braces is a header, as in the
/// function below.
template <class Options, class = std::enable_if_t<std::is_same_v<Options, RawWriteOptions>>>
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              Options const& options);

/// The same without options, in place: an existing file is emptied first, and a failed save leaves the file
/// incomplete. A message about a file that cannot be created, reserved or written does not give the reason of
/// the system.
VELMO_IMAGE_FILE_EXPORT void saveRawImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                                              std::string const& fileHeader = std::string());

} // namespace velmo::image::file
