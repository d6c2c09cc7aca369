// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <string>

using TIFF = struct tiff;

namespace velmo::image::file {

// Operations on a TIFF handle. A failure is a failed BoolResult whose message names the path and ends with
// libtiff's message; nothing is logged. Only one thread at a time may use a handle. Every operation may
// change the current directory of the handle. A plane is given by (z, c, t), and a run of its pixels by its
// first pixel in row-major order and its number of pixels.

/// Opens a file and returns its geometry, calibration and user properties. The caller owns the handle and
/// closes it with `TIFFClose`. After a failure the handle is null, and the file is unchanged.
/// `pGeometricCalibration` is null if the file has no calibration. `pUserProperties` may be null; it is set
/// only for a file of this library.
VELMO_IMAGE_FILE_EXPORT BoolResult
openTiffFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
             eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode, TIFF*& pTiff,
             boost::shared_ptr<BaseImageGeometry>& pImageGeometry,
             boost::shared_ptr<GeometricCalibration>& pGeometricCalibration, std::string* pUserProperties);

/// Whether the current directory stores interleaved RGB pixels. The path is not used.
VELMO_IMAGE_FILE_EXPORT bool isInterleavedRgb(TIFF* pTiff, boost::filesystem::path const& filePath);

/// Creates a file with all its directories and with pixels of zero. Afterwards any plane can be written in
/// any order. An existing file is overwritten. The caller owns the handle, which has no current directory
/// yet. After a failure the handle is null, and an incomplete file may remain.
VELMO_IMAGE_FILE_EXPORT BoolResult
createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
               boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
               eTiffCompression const& compression, TIFF*& pTiff);

/// The same, with user properties in the first directory.
VELMO_IMAGE_FILE_EXPORT BoolResult
createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
               boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
               std::string const& userProperties, eTiffCompression const& compression, TIFF*& pTiff);

/// Reads one channel of a run of pixels, without padding. 1-bit samples are returned as one byte of 0 or 1
/// each. `imageGeometry` must be the geometry of the file. In a single-directory ImageJ stack only reads of
/// whole planes are correct, and their bytes are not converted. If the current directory has no
/// BitsPerSample, the function closes the handle.
VELMO_IMAGE_FILE_EXPORT BoolResult readTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                BaseImageGeometry const& imageGeometry, vlUInt64 z,
                                                vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                                vlUInt64 nbPixels, void* pPixelData);

/// Writes one channel of a run of pixels; all other pixels keep their values. The bytes are in the file when
/// it returns. If the directory has no RowsPerStrip, the function closes the handle.
VELMO_IMAGE_FILE_EXPORT BoolResult writeTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                 BaseImageGeometry const& imageGeometry, vlUInt64 z,
                                                 vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                                 vlUInt64 nbPixels, void const* pPixelData);

/// Reads all channels of a run of pixels of the directory of (z, t), each into its own buffer. `pPlan3` may
/// be null, even if there is a fourth channel.
VELMO_IMAGE_FILE_EXPORT BoolResult readRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                   BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t,
                                                   vlUInt64 firstPixel, vlUInt64 nbPixels, void* pPlan0,
                                                   void* pPlan1, void* pPlan2, void* pPlan3);

/// Writes all channels of a run of pixels of the directory of (z, t). With four channels `pPlan3` is
/// required. If the directory has no RowsPerStrip, the function closes the handle.
VELMO_IMAGE_FILE_EXPORT BoolResult writeRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                    BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t,
                                                    vlUInt64 firstPixel, vlUInt64 nbPixels,
                                                    void const* pPlan0, void const* pPlan1,
                                                    void const* pPlan2, void const* pPlan3);

} // namespace velmo::image::file
