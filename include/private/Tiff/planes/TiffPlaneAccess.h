// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"
#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

// The operations on planes of TiffImageFileTools, for callers that keep the handle: where a failure closes
// it, it becomes null, and with a null handle they fail.

BoolResult readPlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, void* pPixels);
BoolResult writePlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                      PlaneRun const& run, eTiffPolicy policy, void const* pPixels);

/// The planes of all channels of (z, t), one for each channel in order, in one write of each strip; of a file
/// whose channels share a directory. The same bytes as after `writePlane` for each channel; failures are
/// those of channel `run.c`.
BoolResult writePlanes(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                       PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes);

/// All channels of an interleaved page at once; `run.c` is not used. One buffer for each channel, in order;
/// a read fills as many as it is given.
BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlaneRun const& run, eTiffPolicy policy, std::vector<void*> const& planes);
BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes);

} // namespace velmo::image::file
