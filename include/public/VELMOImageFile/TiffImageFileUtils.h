// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOAttributes/InterpolationPolicy.h>
#include <VELMOImage/DiskImage.h>
#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffFileReport.h>
#include <VELMOImageFile/TiffFileSeries.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// @file
/// TIFF files as images: examples/load_stack.cpp, write_volume.cpp, read_planes.cpp, stack_folder.cpp.
///
/// There are two kinds of calls. **Calls with options** (TiffReadOptions, TiffWriteOptions) give the pixels,
/// the geometry and the calibration that the file holds, or throw. Use these. **Plain calls** (with
/// enumerators) keep outcomes on which older programs rely: some of them succeed without all pixels of the
/// file, and log a warning then. The group of the plain calls names these outcomes.
///
/// A file that this module wrote opens with the geometry, calibration and user properties that it was saved
/// with, whatever the modes say. Of any other file the directories are the planes along Z or T, as the
/// directory mode says, and the samples of a pixel are the channels; TiffImageFile lists what can be opened.
///
/// Every error is logged at ERROR and thrown as VELMOImageFileException. The first line of its text has the
/// path in double quotes, the last line is the reason: libtiff's text, that of the system ("No space left on
/// device"), or the module's own. libtiff's texts are captured from the first call with options on, or else
/// from the first error on; libtiff prints what comes before to the standard error. Errors of the image
/// library come as its own exceptions. Too little memory for the pixels is such an error; for anything
/// smaller it may come as std::bad_alloc.
///
/// Any number of calls may run at once on different files. Two saves to one path must not run at once; with
/// options and `bReplaceWhenWhole` the file is that of one of them, whole.

/// @name Calls with options
///
/// With `TiffReadOptions::bTolerant` what cannot be read is zero and logged as a warning; everything else is
/// as without it.
/// @{

/// Loads all planes, on the calling thread, into a new image in memory, with the file's calibration and user
/// properties.
///
/// Errors, beside files that cannot be opened: a strip that cannot be decoded, grey or interleaved; a chain
/// of directories that breaks off or runs in a circle; planes that an ImageJ description announces and the
/// file does not hold; an image that the file cannot hold, found before memory is allocated. Planes of a
/// single-directory ImageJ stack come in the byte order of this machine. BitsPerSample is 1 where a directory
/// does not say. A file may have up to 1,048,576 directories.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   TiffReadOptions const& options = {});

/// An image whose pixels stay in the file, which is open as long as the image lives; for reading, unless
/// `accessMode` is another one. Errors at the opening and at each read are those of the load. Its accessor
/// travels in archives; a file that is missing when the archive is read is an error.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       TiffReadOptions const& options = {},
                                                       eImageAccessMode const& accessMode = eIAM_ReadOnly);

/// Loads all planes into a new distributed image, with the file's calibration and user properties. With
/// `defaultDispatch` its workers read at once, each through a handle of its own, else the calling thread
/// reads alone. Errors are those of the load.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// The same with the geometry and the layout of `model` and the file's pixel type. Directories are time steps
/// where `model` is a sequence, else the planes of a volume, whatever the options say. A file that does not
/// fit `model` is thrown as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// Writes all planes, from the calling thread, with calibration and user properties.
///
/// With `TiffWriteOptions::bReplaceWhenWhole`, the default, the file appears under its name when it is whole:
/// a failed save leaves an old file as it was and nothing else behind. The disk needs room for both files. An
/// image that could not be loaded again is an error before any file is touched: one without pixels, or RGB or
/// RGBA with more than 65,536 pages. The layout of the file and the other errors are those of the plain save
/// below.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               TiffWriteOptions const& options = {});
/// @}

/// @name Plain calls
///
/// A call that succeeds without all pixels of the file, or with other ones, logs a warning
/// (ImageFileCheckMessage.h). That holds for each call below, also in folders of files:
/// - Planes behind a break in the chain of directories are left out.
/// - Directory numbers are taken modulo 65,536.
/// - Planes of a single-directory ImageJ stack are bytes as in the file, zero where the file has none.
///
/// Reads of an image on disk, and loads into distributed images and from folders, which read that way, also
/// succeed where an RGB or RGBA strip cannot be decoded: its pixels are zero.
/// @{

/// Loads all planes, on the calling thread, into a new image in memory, which stands in `image`. After a
/// failure `image` is what it was, or the new image with the planes so far, which is not to be used. A strip
/// that cannot be decoded is an error.
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

/// Loads all planes into a new distributed image, with the file's calibration and user properties. With
/// `defaultDispatch` its workers read at once, each through a handle of its own, else the calling thread
/// reads alone.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr
loadDistributedTiffImageFile(boost::filesystem::path const& path, eTiffDirectoryMode const& directoryMode,
                             eTiffBufferMode const& bufferMode, bool defaultDispatch);

/// The same with the geometry and the layout of `model` and the file's pixel type. Directories are time steps
/// where `model` is a sequence, else the planes of a volume. A file that does not fit `model` is thrown as
/// VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         eTiffBufferMode const& bufferMode,
                                                                         bool defaultDispatch);

/// Writes all planes, from the calling thread, with calibration and user properties, into a new file; an
/// existing one is replaced, unless `image` is a disk image of that very file, which is refused. RGB and RGBA
/// images have one directory for each (z, t), with the channels of a pixel side by side; all others have one
/// for each plane, at most 32767. Beyond 2 GiB of pixels the file is a BigTIFF. An image without planes gives
/// a file that does not open. RGB and RGBA pages beyond 65,536 overwrite the first ones. User properties with
/// a zero byte and a geometry that cannot be stored are errors before an existing file is touched. A save
/// that fails later leaves the file incomplete.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               eTiffCompression const& compression);
/// @}

/// @name Folders of files
///
/// Directories of TIFF files as one image. The files are those of the directory itself, folders left out and
/// links followed, whose names match `pattern` (FilePatternMatching.h tells the language). With "<INDEX>" in
/// the pattern they come in the order of their numbers, and of files with equal numbers only the first that
/// the file system lists is taken; without it they come in lexicographic order of their names, in which
/// img10.tif stands before img2.tif.
///
/// No match gives an empty pointer and is no failure. Exactly one match goes to loadTiffImageFile or
/// openTiffImageFile with the caller's modes. Two or more are each read as a volume and compared with the
/// first before any pixel is read: a file that differs is a VELMOImageFileException that names both. What the
/// file system says of the directory comes as boost::filesystem::filesystem_error. The calls hold one file
/// descriptor for each file; with too few descriptors they fail and name the file at which they stopped. Any
/// number of calls may run at once.
///
/// The calls with options differ: the first file's calibration and user properties are always kept, pixels
/// that cannot be read are an error, and the image on disk needs one file descriptor for each file, whatever
/// the files hold. Plain calls need a second one for each read of a single-directory ImageJ stack.
/// @{

/// With options; otherwise as the plain call below.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// With options; otherwise as the plain call below, and read-only.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// With options; otherwise as the plain call below. A line of the z-steps text that is neither blank nor a
/// positive, finite number is an error that names the line, and a single match is resampled like any stack.
/// The directories of each file are planes along Z, whatever the options say.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, TiffReadOptions const& options = {});

/// Joins the files along T where `directoryMode` is eTDM_Temporal, else along Z, into a new image in memory,
/// without a calibration. All handles are closed on return.
///
/// Along Z the depths may differ; sizes X, Y, C, the colours and the pixel type may not, and each file has
/// one time step. Along T sizes X, Y, Z, C, the colours and 2d or 3d may not differ; the pixel types may, and
/// each time step keeps its own. The user properties of the first file are kept along T and dropped along Z.
/// Pixels that cannot be read (a file cut short) are an error along Z, thrown as
/// VELMOBaseProcessingException; along T the planes from there on are zero, and the host logs a warning.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    eTiffDirectoryMode const& directoryMode,
                                                    eTiffBufferMode const& bufferMode);

/// The same as a DiskImage: pixels stay in the files, which stay open for reading as long as the image lives.
/// Any number of threads may read from it at once. It has the calibration of the first file and no user
/// properties. A single match is open for reading and writing, as openTiffImageFile leaves it.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    eTiffDirectoryMode const& directoryMode,
                                                    eTiffBufferMode const& bufferMode);

/// Loads a stack whose planes lie at uneven heights and resamples it along Z into a new image in memory of
/// `outputSizeZ` evenly spaced planes (ResampleCustomZStack3dImgLvl1 tells how). `zStepsFile` holds the steps
/// between neighbouring planes of all files, one fewer than there are planes: an XML archive of a ZSteps
/// where its extension is ".xml", else a text of one number a line, in which blank lines are ignored and any
/// other line that is no number counts as NaN. Steps have no unit.
///
/// It is read before any image file, and not at all where fewer than two files match: a single one is loaded
/// as it is. The files are compared as along Z; then the number of steps is. Steps that are not all positive
/// and finite, an `outputSizeZ` of 0 or beyond the memory, and pixels that cannot be read are a
/// VELMOBaseProcessingException. Only the result and a few planes of the stack are in memory. The user
/// properties and the calibration of the first file are kept, its spacing along Z as it is.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, eTiffBufferMode const& bufferMode);
/// @}

} // namespace velmo::image::file
