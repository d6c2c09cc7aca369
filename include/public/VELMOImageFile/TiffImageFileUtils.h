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
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/path.hpp>
#include <initializer_list>

namespace velmo::image::file {

/// @file
/// Functions that read and write TIFF files. Examples: examples/load_stack.cpp, write_volume.cpp,
/// read_planes.cpp, stack_folder.cpp.
///
/// There are two kinds of calls. **Calls with options** take TiffReadOptions or TiffWriteOptions, or nothing
/// but the path and the image: use these. A read returns the pixels, the geometry and the calibration that
/// the file holds, or throws. **Plain calls** take enumerators. They keep the results on which older programs
/// rely: some of them succeed without all pixels of the file, and then log a warning.
///
/// A file that this module wrote is read with the geometry, the calibration and the user properties that it
/// was saved with; the modes are ignored. Of any other file the directories are planes along Z or time steps,
/// as the directory mode says, and the samples of a pixel are the channels. TiffImageFile lists the files
/// that can be opened.
///
/// Errors. Every error is logged at ERROR and thrown as VELMOImageFileException. The first line of its text
/// names the file, with its path in double quotes; the last line is the reason: the text of libtiff, that of
/// the system, such as "No space left on device", or that of this module. libtiff's text is available from
/// the first call with options on, or from `captureTiffMessages` on. Before that, libtiff prints the text of
/// the first error to the standard error, and the last line is empty. Errors of the image library are thrown
/// as its own exceptions. If there is too little memory for the pixels, the error is a
/// VELMOImageFileException; for smaller allocations it may be std::bad_alloc.
///
/// Threads. Any number of calls may run at once on different files, and any number of reads on one file. Two
/// saves to one path must not run at once; with options and `bReplaceWhenWhole` the file is then one of the
/// two, whole.

/// Captures libtiff's messages from now on, so that the first error of the process has its reason too. Call
/// it once, at the start of a program that uses plain calls or accessors; calls with options do it
/// themselves. It sets libtiff's error and warning handlers, which belong to the whole process: nothing is
/// printed to the standard error any more. A second call changes nothing. Any thread may call it.
VELMO_IMAGE_FILE_EXPORT void captureTiffMessages();

/// Never an object: an empty pair of braces in place of the options stands for their defaults, and not for
/// the enumerator of a plain call.
class NoOption;

/// @name Calls with options
///
/// With `TiffReadOptions::bTolerant` pixels that cannot be read are zero, and a warning is logged in place of
/// the error.
/// @{

/// Loads all planes into a new image in memory, with the calibration and the user properties of the file. The
/// calling thread reads.
///
/// Errors, in addition to files that cannot be opened: a strip that cannot be decoded; a chain of directories
/// that breaks off or runs in a circle; planes that an ImageJ description announces and the file does not
/// hold; more pixels than the file can hold, found before memory is allocated. Planes of a single-directory
/// ImageJ stack are converted to the byte order of this machine. A directory without BitsPerSample has 1 bit.
/// A file may have up to 1,048,576 directories.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   TiffReadOptions const& options = {});

/// Opens a file as an image whose pixels stay in the file. Each read of the image reads from the file; the
/// errors of the opening and of each read are those of the load. The file is open as long as the image lives,
/// for reading, or for reading and writing with `eIAM_ReadWrite`. Any number of threads may read; reads of
/// one image wait for each other. The image's accessor can be written to an archive; if the file is missing
/// when that archive is read, it is an error.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       TiffReadOptions const& options = {},
                                                       eImageAccessMode const& accessMode = eIAM_ReadOnly);

/// Loads all planes into a new distributed image, with the calibration and the user properties of the file.
/// With `defaultDispatch` the workers of the image read at once, each through a handle of its own; without it
/// the calling thread reads. Errors are those of the load.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// The same with the geometry and the distribution of `model` and the pixel type of the file. If `model` is a
/// sequence, directories are time steps, else planes of a volume; `TiffReadOptions::directories` is ignored.
/// A file that does not fit `model` is thrown as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// Writes all planes, with calibration and user properties. The calling thread writes; when the call returns,
/// the system has taken the whole file.
///
/// By default (`TiffWriteOptions::bReplaceWhenWhole`) the file is written under a temporary name beside the
/// target and renamed when it is whole: a failed save leaves an old file as it was and no other file behind.
/// The disk needs room for both files. An image that could not be loaded again is an error before any file is
/// touched: one without pixels, or RGB or RGBA with more than 65,536 pages. The layout of the file and the
/// other errors are those of the plain save.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               TiffWriteOptions const& options = {});

/// The same with `{}` in place of the options, which stands for their defaults.
inline ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                  std::initializer_list<NoOption> const& /*options*/) {
    return loadTiffImageFile(path, TiffReadOptions());
}

/// The same with `{}` in place of the options, which stands for their defaults.
inline DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                        DistributedImage const& model,
                                                        std::initializer_list<NoOption> const& /*options*/,
                                                        bool defaultDispatch) {
    return loadDistributedTiffImageFile(path, model, TiffReadOptions(), defaultDispatch);
}

/// The same with braces in place of the options: `{}` stands for their
/// defaults, `{eTC_Lzw}` for a compression.
inline void saveTiffImageFile(boost::filesystem::path const& path, ImageConstPtr const& image,
                              std::initializer_list<eTiffCompression> const& compression) {
    TiffWriteOptions options;
    for (eTiffCompression const one : compression) {
        options.compression = one;
    }
    saveTiffImageFile(path, image, options);
}
/// @}

/// @name Plain calls
///
/// A call that succeeds without all pixels of the file, or with other pixels, logs a warning
/// (ImageFileCheckMessage.h). This concerns each call below, also in folders of files:
/// - Planes behind a break in the chain of directories are left out.
/// - Directory numbers are taken modulo 65,536.
/// - Planes of a single-directory ImageJ stack are the bytes of the file, in its byte order, and zero where
/// the
///   file ends too early.
///
/// Where an RGB or RGBA strip cannot be decoded, its pixels are zero in reads of an image on disk, and in
/// loads into distributed images and from folders, which read in the same way.
/// @{

/// Loads all planes into a new image in memory, to which `image` then points. The calling thread reads. A
/// strip that cannot be decoded is an error. After an error `image` points to what it did before, or to the
/// new image with the planes read so far, which must not be used.
VELMO_IMAGE_FILE_EXPORT void loadTiffImageFile(boost::filesystem::path const& path, ImagePtr& image,
                                               eTiffDirectoryMode const& directoryMode,
                                               eTiffBufferMode const& bufferMode);

/// The same; returns the image.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   eTiffDirectoryMode const& directoryMode,
                                                   eTiffBufferMode const& bufferMode);

/// The same with the directories as planes of a volume.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   eTiffBufferMode const& bufferMode);

/// The same with the directories as planes of a volume; `image` as in the first form.
VELMO_IMAGE_FILE_EXPORT void loadTiffImageFile(boost::filesystem::path const& path,
                                               eTiffBufferMode const& bufferMode, ImagePtr& image);

/// Opens a file as an image whose pixels stay in the file. The file is open for reading and writing as long
/// as the image lives. A file that may not be written is an error, and so is one of packed bits, which can be
/// loaded.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       eTiffDirectoryMode const& directoryMode,
                                                       eTiffBufferMode const& bufferMode);

/// Loads all planes into a new distributed image, with the calibration and the user properties of the file.
/// With `defaultDispatch` the workers of the image read at once, each through a handle of its own; without it
/// the calling thread reads.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr
loadDistributedTiffImageFile(boost::filesystem::path const& path, eTiffDirectoryMode const& directoryMode,
                             eTiffBufferMode const& bufferMode, bool defaultDispatch);

/// The same with the geometry and the distribution of `model` and the pixel type of the file. If `model` is a
/// sequence, directories are time steps, else planes of a volume. A file that does not fit `model` is thrown
/// as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         eTiffBufferMode const& bufferMode,
                                                                         bool defaultDispatch);

/// Writes all planes, with calibration and user properties, from the calling thread. An old file is emptied
/// and overwritten; a save that fails later leaves it incomplete.
///
/// RGB and RGBA images have one directory for each (z, t), with the channels of a pixel side by side. All
/// other images have one for each plane, at most 32,767. A file with more than 2 GiB of pixels is a BigTIFF.
///
/// These errors leave an old file as it is: a disk image of that very file, user properties with a zero byte,
/// and a geometry that cannot be stored. An image without planes is no error, but its file does not open. Of
/// RGB and RGBA images the pages beyond 65,536 overwrite the first ones.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               eTiffCompression const& compression);
/// @}

/// @name Folders of files
///
/// Several TIFF files of a directory as one image. The files are those of the directory itself whose names
/// match `pattern` (see FilePatternMatching.h); subdirectories are left out, links are followed. With
/// "<INDEX>" in the pattern the files come in the order of their numbers; of files with equal numbers only
/// the first that the file system lists is taken. Without it they come in the lexicographic order of their
/// names, in which img10.tif stands before img2.tif.
///
/// If no file matches, the result is an empty pointer: check it. A single match is loaded or opened with
/// loadTiffImageFile or openTiffImageFile. Of two or more, each is read as a volume and compared with the
/// first one before any pixel is read: a file that does not fit is a VELMOImageFileException that names both
/// files. A directory that cannot be listed is a boost::filesystem::filesystem_error. The calls need one file
/// descriptor for each file; with too few of them they fail and name the file at which they stopped. Any
/// number of calls may run at once.
///
/// Calls with options differ from plain calls: the calibration and the user properties of the first file are
/// always kept, pixels that cannot be read are an error, and an image on disk needs one file descriptor for
/// each file, whatever the files hold. In plain calls each read of a single-directory ImageJ stack needs a
/// second one.
/// @{

/// Joins the files into a new image in memory: along T if `TiffReadOptions::directories` is eTDM_Temporal,
/// else along Z. What must be equal in all files: see the plain call.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// The same as a DiskImage, for reading: the pixels stay in the files, which are open as long as the image
/// lives. Any number of threads may read from it at once.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// Loads planes at uneven heights and resamples them along Z, as the plain call below, with these
/// differences: a line of the text of steps that is neither blank nor a positive, finite number is an error
/// that names the line; a single match is resampled like any stack; the directories of each file are planes
/// along Z, and `TiffReadOptions::directories` is ignored.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, TiffReadOptions const& options = {});

/// The same with `{}` in place of the options, which stands for their defaults.
inline ImagePtr
loadCustomZStackImageFiles(boost::filesystem::path const& directory,
                           boost::filesystem::path const& zStepsFile, unsigned long outputSizeZ,
                           velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
                           std::string const& pattern, std::initializer_list<NoOption> const& /*options*/) {
    return loadCustomZStackImageFiles(directory, zStepsFile, outputSizeZ, interpolationPolicy, pattern,
                                      TiffReadOptions());
}

/// Joins the files into a new image in memory, without a calibration: along T if `directoryMode` is
/// eTDM_Temporal, else along Z. All files are closed on return.
///
/// | | along Z | along T |
/// |---|---|---|
/// | sizes X, Y, C, colours | equal | equal |
/// | size Z, 2d or 3d | may differ | equal |
/// | pixel type | equal | may differ; each time step keeps its own |
/// | time steps of a file | one | any number |
/// | user properties | dropped | those of the first file |
/// | pixels that cannot be read | VELMOBaseProcessingException | zero, with a warning |
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    eTiffDirectoryMode const& directoryMode,
                                                    eTiffBufferMode const& bufferMode);

/// The same as a DiskImage: the pixels stay in the files, which are open for reading as long as the image
/// lives. Any number of threads may read from it at once. It has the calibration of the first file and no
/// user properties. A single match is open for reading and writing, as by openTiffImageFile.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    eTiffDirectoryMode const& directoryMode,
                                                    eTiffBufferMode const& bufferMode);

/// Loads planes at uneven heights and resamples them along Z into a new image in memory of `outputSizeZ`
/// evenly spaced planes; ResampleCustomZStack3dImgLvl1 describes how. Only the result and a few planes of the
/// stack are in memory. The result has the calibration and the user properties of the first file; the size of
/// a pixel along Z is not adapted.
///
/// `zStepsFile` holds the steps between neighbouring planes of all files, one fewer than there are planes, in
/// any unit. It is an XML archive of a ZSteps if its extension is ".xml", else a text with one number a line:
/// blank lines are ignored, and any other line that is not a number counts as NaN.
///
/// The file of steps is read before any image file; if fewer than two files match, it is not read, and a
/// single file is loaded without resampling. The files are compared as along Z, then the number of steps is
/// checked. These errors are a VELMOBaseProcessingException: steps that are not all positive and finite, an
/// `outputSizeZ` of 0 or beyond the memory, and pixels that cannot be read.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, eTiffBufferMode const& bufferMode);
/// @}

} // namespace velmo::image::file
