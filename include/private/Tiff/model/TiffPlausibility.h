// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>

using TIFF = struct tiff;

namespace velmo::image::file {

/// Checks whether a file can contain the pixels that it announces; called before anything is allocated. It
/// rejects an uncompressed image that is more than 16 times larger than its file, unless all its strips are
/// in the file; directories may share strips. It also rejects RGB pixels with other than 3 or 4 channels. A
/// file that is merely truncated passes. Afterwards the current directory may be another one.
BoolResult requirePlausible(TIFF* pTiff, boost::filesystem::path const& path,
                            BaseImageGeometry const& geometry, eTiffPolicy policy, bool bInterleaved);

} // namespace velmo::image::file
