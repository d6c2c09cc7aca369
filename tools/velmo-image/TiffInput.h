// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "InputOptions.h"

#include <VELMOImage/DiskImage.h>

namespace velmo {
namespace tool {

/// A TIFF file that stays as it is, with its user properties. Failures have the library's words.
image::DiskImagePtr openTiffInput(boost::filesystem::path const& path, TiffDescription const& description);

} // namespace tool
} // namespace velmo
