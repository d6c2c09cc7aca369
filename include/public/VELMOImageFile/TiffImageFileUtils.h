// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/filesystem/path.hpp>

namespace velmo {
namespace image {
namespace file {

// TIFF files as images. A file that this module wrote opens with the geometry, calibration and user
// properties that it was saved with, whatever the modes say. Of any other file the directories are the planes
// along Z or T, as the directory mode says, and the samples of a pixel are the channels; TiffImageFile tells
// what can be opened.
//
// Every failure is logged at ERROR and thrown as VELMOImageFileException, with the path in double quotes and,
// behind line feeds, what went wrong and what libtiff said of it. What the image library itself refuses comes
// through as its own exception. Any number of calls may run at once on different files; two saves to one path
// are not guarded against each other.

/// Loads all planes, on the calling thread, into a new image in memory, which stands in `image`. After a
/// failure `image` is what it was, or the new image with the planes so far, which is not to be used.
VELMO_IMAGE_FILE_EXPORT void loadTiffImageFile(boost::filesystem::path const& path, ImagePtr& image,
                                               eTiffDirectoryMode const& directoryMode,
                                               eTiffBufferMode const& bufferMode);

/// The same, returned.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   eTiffDirectoryMode const& directoryMode,
                                                   eTiffBufferMode const& bufferMode);

/// Directories are the planes of a volume.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   eTiffBufferMode const& bufferMode);

/// Directories are the planes of a volume; `image` as in the first form.
VELMO_IMAGE_FILE_EXPORT void loadTiffImageFile(boost::filesystem::path const& path,
                                               eTiffBufferMode const& bufferMode, ImagePtr& image);

/// An image whose pixels stay in the file, which is open for reading and writing as long as the image lives:
/// a file that cannot be written is refused, and so is one of packed bits, which loads.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       eTiffDirectoryMode const& directoryMode,
                                                       eTiffBufferMode const& bufferMode);

/// Writes all planes, from the calling thread, with calibration and user properties, into a new file; an
/// existing one is replaced, unless `image` is a disk image of that very file, which is refused. RGB and RGBA
/// images have one directory for each (z, t), with the channels of a pixel side by side; all others have one
/// for each plane, at most 32767. Beyond 2 GiB of pixels the file is a BigTIFF. An image without planes gives
/// a file that does not open; user properties with a zero byte are refused. A failed save leaves the file as
/// far as it came.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               eTiffCompression const& compression);

} // namespace file
} // namespace image
} // namespace velmo
