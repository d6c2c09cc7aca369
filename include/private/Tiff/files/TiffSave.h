// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/FormatFamily.h"
#include "Tiff/TiffPolicy.h"

#include <VELMOBaseProcessing/ProcessorDispatchPolicy.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// Saves an image to a new file. An existing file is overwritten. Several threads read planes from the image
/// and encode them; the file and the error of a failure are those of a single thread.
void saveTiffImage(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                   eTiffCompression compression, eTiffPolicy policy,
                   processor::ProcessorDispatchPolicy const& threads, FamilyFailure const& failure);

} // namespace velmo::image::file
