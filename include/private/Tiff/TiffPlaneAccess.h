// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"
#include "Utils/PlanRun.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <vector>

using TIFF = struct tiff;

namespace velmo {
namespace image {
namespace file {

// The operations on planes of TiffImageFileTools, for callers that keep the handle: where a failure closes
// it, it becomes null, and with a null handle they fail.

BoolResult readPlan(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlanRun const& run, eTiffPolicy policy, void* pPixels);
BoolResult writePlan(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlanRun const& run, eTiffPolicy policy, void const* pPixels);

/// All channels of an interleaved page at once; `run.c` is not used. One buffer for each channel, in order;
/// a read fills as many as it is given.
BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlanRun const& run, eTiffPolicy policy, std::vector<void*> const& plans);
BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlanRun const& run, eTiffPolicy policy, std::vector<void const*> const& plans);

} // namespace file
} // namespace image
} // namespace velmo
