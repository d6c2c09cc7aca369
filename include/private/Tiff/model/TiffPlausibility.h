// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>

using TIFF = struct tiff;

namespace velmo::image::file {

/// Fails where a file cannot hold what it announces, asked before anything is allocated for it. Refused is an
/// image many times larger than its file whose pixels are not compressed and not all in the file, directories
/// sharing strips or not, and one whose RGB pixels have other than 3 or 4 channels; a file that merely breaks
/// off is not. The handle may stand on another directory afterwards.
BoolResult requirePlausible(TIFF* pTiff, boost::filesystem::path const& path,
                            BaseImageGeometry const& geometry, eTiffPolicy policy, bool bInterleaved);

} // namespace velmo::image::file
