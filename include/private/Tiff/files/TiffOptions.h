// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/model/TiffOpening.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileOptions.h>

namespace velmo::image::file {

/// Converts the options of a public call into a request to open a file for reading.
TiffOpenRequest toRequest(TiffReadOptions const& options);

/// Number of threads for an image, if each needs `bytesForThread` bytes of pixels to make the work faster.
vlUInt64 countUsefulThreads(processor::ProcessorDispatchPolicy const& threads,
                            BaseImageGeometry const& geometry, vlUInt64 bytesForThread);

/// Creates an accessor without a file that reads under a policy.
boost::shared_ptr<TiffImageFile> createAccessor(eTiffPolicy policy);

} // namespace velmo::image::file
