// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/FormatFamily.h"
#include "Tiff/model/TiffOpening.h"

#include <VELMOBaseProcessing/ProcessorDispatchPolicy.h>
#include <VELMOImage/ImageFactory.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// Loads a file into a new image in memory, which `pImage` then refers to. After a failure in the pixels
/// `pImage` contains the pixels that were loaded before. If several threads load, the failure is that of the
/// first plane, in the order (t, c, z), which a single thread would report.
void loadTiffImage(boost::filesystem::path const& path, TiffOpenRequest const& request,
                   processor::ProcessorDispatchPolicy const& threads, ImagePtr& pImage,
                   FamilyFailure const& failure);

} // namespace velmo::image::file
