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
/// There are two kinds of calls. **Calls with options** take TiffReadOptions or TiffWriteOptions as an
/// optional last argument: use these. A read returns the pixels, the geometry and the calibration of the
/// file, or throws. **Plain calls** take enumerators. They keep the results on which older programs rely:
/// some of them succeed without all pixels of the file, and most of these log a warning.
///
/// A file that this library wrote is read with its stored geometry, calibration and user properties; the
/// directory and buffer modes are ignored. In any other file the directories are planes along Z or time
/// steps, depending on the directory mode, and the samples of a pixel are the channels. TiffImageFile lists
/// the files that can be opened.
///
/// Errors. Every error is logged at ERROR and thrown as VELMOImageFileException. The first line of its text
/// names the file, with its path in double quotes. The last line is the reason: a text of libtiff, of the
/// operating system, such as "No space left on device", or of this module. libtiff's text is available after
/// the first call with options or `captureTiffMessages`. Before that, libtiff prints the text of the first
/// error to the standard error, and the last line is empty. Errors of the image library are thrown as the
/// exceptions of that library. If there is too little memory for the pixels, the error is a
/// VELMOImageFileException; for smaller allocations it may be std::bad_alloc.
///
/// Threads. Any number of calls may run at once on different files, and any number of reads on one file. Two
/// saves to one path may run at once only with options and `bReplaceWhenWhole`; the file is then the complete
/// result of one of them.

/// Captures libtiff's messages from now on, so that the message of the first error in the process also
/// contains its reason. Call it once, at the start of a program that uses plain calls or accessors; calls
/// with options do it themselves. It sets libtiff's error and warning handlers for the whole process: libtiff
/// no longer prints to the standard error. A second call has no effect. Thread-safe.
VELMO_IMAGE_FILE_EXPORT void captureTiffMessages();

/// Selects an overload at compile time: `{}` as an argument means the default options, and not the enumerator
/// of a plain call. Has no objects.
class NoOption;

/// @name Calls with options
///
/// With `TiffReadOptions::bTolerant`, pixels that cannot be read are zero, and a warning is logged instead of
/// an error.
/// @{

/// Loads all planes into a new image in memory, with the calibration and the user properties of the file. The
/// calling thread reads.
///
/// Errors, in addition to files that cannot be opened: a strip that cannot be decoded; a chain of directories
/// that is broken or runs in a circle; an ImageJ description that announces more planes than the file
/// contains; more announced pixels than the file can contain, which is detected before memory is allocated.
/// Planes of a single-directory ImageJ stack are converted to the byte order of this machine. A directory
/// without BitsPerSample has 1 bit for each sample. A file may have up to 1,048,576 directories.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                                   TiffReadOptions const& options = {});

/// Opens a file as an image whose pixels stay in the file. Each read of the image reads from the file; the
/// errors of the opening and of each read are those of the load. As long as the image exists, the file is
/// open for reading, or for reading and writing with `eIAM_ReadWrite`. Any number of threads may read; reads
/// of one image run one after the other. The accessor of the image can be written to an archive; if the file
/// is missing when that archive is read, the read fails.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       TiffReadOptions const& options = {},
                                                       eImageAccessMode const& accessMode = eIAM_ReadOnly);

/// Loads all planes into a new distributed image, with the calibration and the user properties of the file.
/// If `defaultDispatch` is true, the workers of the image read in parallel, each through its own handle;
/// otherwise the calling thread reads. Errors are those of the load.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// The same with the geometry and the distribution of `model` and the pixel type of the file. If `model` is a
/// sequence, directories are time steps, otherwise planes; `TiffReadOptions::directories` is ignored.
/// A file that does not fit `model` is thrown as VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         TiffReadOptions const& options = {},
                                                                         bool defaultDispatch = true);

/// Writes all planes, with calibration and user properties, on the calling thread. When the call returns, all
/// bytes have been written to the file (the call does not `sync`).
///
/// By default (`TiffWriteOptions::bReplaceWhenWhole`) the file is written under a temporary name in the
/// folder of the target and renamed when it is complete. A failed save leaves an old file unchanged and
/// removes the temporary file. The disk needs room for both files. An image that could not be loaded again is
/// rejected before any file is touched: an image without pixels, or RGB or RGBA with more than 65,536 pages.
/// The layout of the file and the other errors are those of the plain save.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               TiffWriteOptions const& options = {});

/// The same with `{}` for the default options.
inline ImagePtr loadTiffImageFile(boost::filesystem::path const& path,
                                  std::initializer_list<NoOption> const& /*options*/) {
    return loadTiffImageFile(path, TiffReadOptions());
}

/// The same with `{}` for the default options.
inline DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                        DistributedImage const& model,
                                                        std::initializer_list<NoOption> const& /*options*/,
                                                        bool defaultDispatch) {
    return loadDistributedTiffImageFile(path, model, TiffReadOptions(), defaultDispatch);
}

/// The same with braces for the options: `{}` for the default options, `{eTC_Lzw}` for a compression.
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
/// A call that succeeds without all pixels of the file, or with wrong pixels, logs a warning
/// (ImageFileCheckMessage.h). The following applies to each plain call below, also for folders of files:
/// - Planes after a break in the chain of directories are missing.
/// - Directory numbers are taken modulo 65,536.
/// - Single-directory ImageJ stack: pixels are not converted from the byte order of the file.
/// - Single-directory ImageJ stack: pixels that are missing at the end of the file are zero.
///
/// If an RGB or RGBA strip cannot be decoded, its pixels are zero in reads of an image on disk and in loads
/// of folders and into distributed images, which read in the same way. docs/limits.md lists all cases.
/// @{

/// Loads all planes into a new image in memory and sets `image` to it. The calling thread reads. A strip that
/// cannot be decoded is an error. After an error `image` is unchanged, or points to the new image with the
/// planes read so far, which must not be used.
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
/// as the image exists. A file that the user may not write is an error. A file of 1-bit samples is an error
/// too; it can only be loaded.
VELMO_IMAGE_FILE_EXPORT DiskImagePtr openTiffImageFile(boost::filesystem::path const& path,
                                                       eTiffDirectoryMode const& directoryMode,
                                                       eTiffBufferMode const& bufferMode);

/// Loads all planes into a new distributed image, with the calibration and the user properties of the file.
/// If `defaultDispatch` is true, the workers of the image read in parallel, each through its own handle;
/// otherwise the calling thread reads.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr
loadDistributedTiffImageFile(boost::filesystem::path const& path, eTiffDirectoryMode const& directoryMode,
                             eTiffBufferMode const& bufferMode, bool defaultDispatch);

/// The same with the geometry and the distribution of `model` and the pixel type of the file. If `model` is a
/// sequence, directories are time steps, otherwise planes. A file that does not fit `model` is thrown as
/// VELMOBaseProcessingException.
VELMO_IMAGE_FILE_EXPORT DistributedImagePtr loadDistributedTiffImageFile(boost::filesystem::path const& path,
                                                                         DistributedImage const& model,
                                                                         eTiffBufferMode const& bufferMode,
                                                                         bool defaultDispatch);

/// Writes all planes, with calibration and user properties, on the calling thread. An old file is emptied and
/// overwritten; a save that fails after that leaves it incomplete.
///
/// RGB and RGBA images have one directory for each (z, t), with interleaved channels. All other images have
/// one directory for each plane, at most 32,767. A file with more than 2 GiB of pixels is a BigTIFF.
///
/// The following errors leave an old file unchanged: the image is a disk image of that file; the user
/// properties contain a zero byte; the geometry cannot be stored. An image without planes is not an error,
/// but its file cannot be opened. RGB and RGBA images: pages beyond 65,536 overwrite the first ones.
VELMO_IMAGE_FILE_EXPORT void saveTiffImageFile(boost::filesystem::path const& path,
                                               ImageConstPtr const& image,
                                               eTiffCompression const& compression);
/// @}

/// @name Folders of files
///
/// These functions join several TIFF files of a directory into one image. They use the files of the directory
/// whose names match `pattern` (see FilePatternMatching.h); subdirectories are not searched, links are
/// followed. If the pattern contains "<INDEX>", the files are sorted by that number; if several files have
/// the same number, only the one that the file system lists first is used. Without "<INDEX>" the files are
/// sorted by name: img10.tif comes before img2.tif.
///
/// If no file matches, the result is an empty pointer: check it. A single match is loaded or opened with
/// loadTiffImageFile or openTiffImageFile. If several files match, each is opened as a volume and compared
/// with the first one before any pixel is read. A file that does not fit is thrown as a
/// VELMOImageFileException that names both files. A directory that cannot be listed is thrown as
/// boost::filesystem::filesystem_error. The calls need one file descriptor for each file; if the process has
/// too few, they fail and name the file at which they stopped. Thread-safe.
///
/// Calls with options differ from plain calls. The calibration and the user properties of the first file are
/// always kept. Pixels that cannot be read are an error. An image on disk needs one file descriptor for each
/// file; in plain calls each read of a single-directory ImageJ stack needs a second one.
/// @{

/// Joins the files into a new image in memory: along T if `TiffReadOptions::directories` is eTDM_Temporal,
/// otherwise along Z. The table of the plain call lists which properties must be equal in all files.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// The same as a DiskImage, for reading: the pixels stay in the files, which are open as long as the image
/// exists. Any number of threads may read from it at once.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    TiffReadOptions const& options = {});

/// Loads planes at uneven heights and resamples them along Z. It differs from the plain call below:
/// - A line of steps that is neither blank nor a positive, finite number is an error that names the line.
/// - A single match is resampled like any stack.
/// - The directories of each file are planes along Z; `TiffReadOptions::directories` is ignored.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, TiffReadOptions const& options = {});

/// Resamples the planes of an image in the same way, such as of one that `openTiffImageFiles` opened. The
/// steps, the result and the errors are those of the call above; a null pointer is an error. `stack` is read
/// by `threads` at the same time, whole plane by whole plane.
VELMO_IMAGE_FILE_EXPORT ImagePtr resampleCustomZStack(
    ImageConstPtr const& stack, boost::filesystem::path const& zStepsFile, unsigned long outputSizeZ,
    velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    processor::ProcessorDispatchPolicy const& threads = useAllProcessors());

/// The same with `{}` for the default options.
inline ImagePtr
loadCustomZStackImageFiles(boost::filesystem::path const& directory,
                           boost::filesystem::path const& zStepsFile, unsigned long outputSizeZ,
                           velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
                           std::string const& pattern, std::initializer_list<NoOption> const& /*options*/) {
    return loadCustomZStackImageFiles(directory, zStepsFile, outputSizeZ, interpolationPolicy, pattern,
                                      TiffReadOptions());
}

/// Joins the files into a new image in memory, without a calibration: along T if `directoryMode` is
/// eTDM_Temporal, otherwise along Z. All files are closed on return.
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
/// exists. Any number of threads may read from it at once. It has the calibration of the first file and no
/// user properties. A single match is opened for reading and writing, like with openTiffImageFile.
VELMO_IMAGE_FILE_EXPORT ImagePtr openTiffImageFiles(boost::filesystem::path const& directory,
                                                    std::string const& pattern,
                                                    eTiffDirectoryMode const& directoryMode,
                                                    eTiffBufferMode const& bufferMode);

/// Loads planes at uneven heights and resamples them along Z into a new image in memory of `outputSizeZ`
/// evenly spaced planes; ResampleCustomZStack3dImgLvl1 describes how. Only the result and a few planes of the
/// stack are in memory. The result has the calibration and the user properties of the first file; the pixel
/// size along Z is not adapted.
///
/// `zStepsFile` contains the distances between neighbouring planes of all files, one fewer than there are
/// planes, in any unit. If its extension is ".xml", it is an XML archive of a ZSteps. Otherwise it is a text
/// with one number for each line: blank lines are ignored, and any other line that is not a number counts as
/// NaN.
///
/// The file of steps is read before any image file. If fewer than two files match, it is not read, and a
/// single file is loaded without resampling. The files are compared like those joined along Z; then the
/// number of steps is checked. The following errors are thrown as VELMOBaseProcessingException: a step that
/// is not positive and finite, an `outputSizeZ` of 0 or too large for the memory, and pixels that cannot be
/// read.
VELMO_IMAGE_FILE_EXPORT ImagePtr loadCustomZStackImageFiles(
    boost::filesystem::path const& directory, boost::filesystem::path const& zStepsFile,
    unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy const& interpolationPolicy,
    std::string const& pattern, eTiffBufferMode const& bufferMode);
/// @}

} // namespace velmo::image::file
