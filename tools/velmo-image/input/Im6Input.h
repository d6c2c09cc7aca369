// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// Opens an Im6 file for reading. Throws the errors of the library; each names the file.
image::DiskImagePtr openIm6Input(boost::filesystem::path const& path);

} // namespace velmo::tool
