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

struct EncodedStrips;

// The operations on planes of TiffImageFileTools, for callers that own the handle. An error that closes the
// handle sets it to null. With a null handle they fail.

BoolResult readPlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, void* pPixels);
BoolResult writePlane(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                      PlaneRun const& run, eTiffPolicy policy, void const* pPixels);

/// Writes the planes of all channels of a directory: one plane, or of a file with interleaved channels one
/// for each channel in order. Each strip is written once. The bytes are the same as after `writePlane` for
/// each channel. Errors name channel `run.c`. `pEncoded` contains all strips of the run, a whole plane, if
/// they were encoded before; otherwise it is null.
BoolResult writePlanes(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                       PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes,
                       EncodedStrips const* pEncoded = nullptr);

/// Transfers all channels of an interleaved page at once. `run.c` must be 0. `planes` contains one buffer
/// for each channel, in order; a read with fewer buffers fills only these.
BoolResult readPage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                    PlaneRun const& run, eTiffPolicy policy, std::vector<void*> const& planes);
BoolResult writePage(TIFF*& pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                     PlaneRun const& run, eTiffPolicy policy, std::vector<void const*> const& planes);

} // namespace velmo::image::file
