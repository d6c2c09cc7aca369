// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffImageFileTools.h"

#include <vector>

namespace velmo::image::file {

/// Creates a file like `createTiffFile`, without user properties if the text is empty. Afterwards
/// `pixelOffsets` contains the offset of the pixels of each directory if they are stored without gaps, as
/// they are in memory; otherwise it is empty.
BoolResult createTiffFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          GeometricCalibrationConstPtr const& pCalibration, std::string const& userProperties,
                          eTiffCompression compression, TIFF*& pTiff, std::vector<vlUInt64>& pixelOffsets);

} // namespace velmo::image::file
