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

// What a file of this module says of itself, in a binary archive within its first directory.

/// Whether the current directory names this module as the file's maker.
bool isOwnFile(TIFF* pTiff);

/// The bytes of the archive.
std::string toStoredGeometry(BaseImageGeometry const& geometry,
                             GeometricCalibrationConstPtr const& pCalibration);

/// Reads the archive. What the archive refuses is thrown as it comes.
BoolResult readStoredGeometry(TIFF* pTiff, boost::filesystem::path const& path, ImageGeometryPtr& pGeometry,
                              GeometricCalibrationPtr& pCalibration);

/// The caller's text in a file of this module; empty where there is none.
std::string readUserProperties(TIFF* pTiff);

} // namespace velmo::image::file
