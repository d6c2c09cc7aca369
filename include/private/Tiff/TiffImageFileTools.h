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

// Operations on a TIFF handle. A failure is a false result whose text names the path and ends in libtiff's
// words; nothing is logged. A handle is for one thread at a time, and every operation may leave it on another
// directory. A plane is named by (z, c, t), a run of its pixels by its first pixel in row-major order and its
// number of pixels.

/// Opens a file and tells what is in it. The caller owns the handle and closes it with `TIFFClose`; after a
/// failure it is null, and the file is as it was. `pGeometricCalibration` is null where the file has none.
/// `pUserProperties` may be null; it is written for a file of this module alone.
VELMO_IMAGE_FILE_EXPORT BoolResult
openTiffFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
             eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode, TIFF*& pTiff,
             boost::shared_ptr<BaseImageGeometry>& pImageGeometry,
             boost::shared_ptr<GeometricCalibration>& pGeometricCalibration, std::string* pUserProperties);

/// Whether the current directory holds the channels of RGB pixels side by side. The path is not used.
VELMO_IMAGE_FILE_EXPORT bool isInterleavedRgb(TIFF* pTiff, boost::filesystem::path const& filePath);

/// Creates a file with all its directories, in zeros, ready for writes to any plane in any order. An existing
/// file is replaced. The caller owns the handle, which stands on no directory yet. After a failure the handle
/// is null, and the file stays as far as it came.
VELMO_IMAGE_FILE_EXPORT BoolResult
createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
               boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
               eTiffCompression const& compression, TIFF*& pTiff);

/// The same with a text of the caller in the first directory.
VELMO_IMAGE_FILE_EXPORT BoolResult
createTiffFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
               boost::shared_ptr<GeometricCalibration const> const& pGeometricCalibration,
               std::string const& userProperties, eTiffCompression const& compression, TIFF*& pTiff);

/// Reads one channel of a run of pixels, tightly packed; packed bits as one byte of 0 or 1 each.
/// `imageGeometry` is the file's. Of the single directory of an ImageJ stack whole planes alone are read as
/// they lie. A current directory without bits per sample closes the handle.
VELMO_IMAGE_FILE_EXPORT BoolResult readTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                BaseImageGeometry const& imageGeometry, vlUInt64 z,
                                                vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                                vlUInt64 nbPixels, void* pPixelData);

/// The converse; pixels around the run keep their values. The bytes are in the file when it returns. A
/// directory without rows per strip closes the handle.
VELMO_IMAGE_FILE_EXPORT BoolResult writeTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                 BaseImageGeometry const& imageGeometry, vlUInt64 z,
                                                 vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                                 vlUInt64 nbPixels, void const* pPixelData);

/// Reads all channels of a run of pixels of the directory of (z, t) at once, each into its own buffer.
/// `pPlan3` may be null, also where there is a fourth channel.
VELMO_IMAGE_FILE_EXPORT BoolResult readRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                   BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t,
                                                   vlUInt64 firstPixel, vlUInt64 nbPixels, void* pPlan0,
                                                   void* pPlan1, void* pPlan2, void* pPlan3);

/// The converse. With four channels `pPlan3` is required. A directory without rows per strip closes the
/// handle.
VELMO_IMAGE_FILE_EXPORT BoolResult writeRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                                                    BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t,
                                                    vlUInt64 firstPixel, vlUInt64 nbPixels,
                                                    void const* pPlan0, void const* pPlan1,
                                                    void const* pPlan2, void const* pPlan3);

} // namespace velmo::image::file
