// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffOpening.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileOptions.h>

namespace velmo {
namespace image {
namespace file {

/// A read-only opening by the options of a public call.
TiffOpenRequest toRequest(TiffReadOptions const& options);

/// A new accessor, without a file, that reads under a policy.
boost::shared_ptr<TiffImageFile> createAccessor(eTiffPolicy policy);

} // namespace file
} // namespace image
} // namespace velmo
