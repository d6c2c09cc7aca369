// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <string>

using TIFF = struct tiff;

namespace velmo::image::file {

// The geometry and calibration that a file of this library stores, as a binary archive in its first
// directory.

/// Whether the current directory names this library as the software that made the file.
bool isOwnFile(TIFF* pTiff);

/// Creates the bytes of the archive.
std::string toStoredGeometry(BaseImageGeometry const& geometry,
                             GeometricCalibrationConstPtr const& pCalibration);

/// Reads the archive. Exceptions of the archive are not caught.
BoolResult readStoredGeometry(TIFF* pTiff, boost::filesystem::path const& path, ImageGeometryPtr& pGeometry,
                              GeometricCalibrationPtr& pCalibration);

/// User properties in a file of this library; empty if there are none.
std::string readUserProperties(TIFF* pTiff);

} // namespace velmo::image::file
