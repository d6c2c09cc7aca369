// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportTiff.h"
#include "PageDecoder.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageGeometry.h>
#include <vector>

namespace velmo::importer {

/// Which pages become which planes.
struct ImportPlan {
    std::vector<InputFilePtr> files;
    std::vector<PageKind> kinds;
    std::vector<PageSource> pages; ///< in the order t, c, z, with z fastest
    vlUInt64 samples = 1;          ///< channels of the image that one page holds
    image::ImageGeometryPtr pGeometry;
    image::GeometricCalibrationConstPtr pCalibration; ///< may be null
    std::vector<ImportChange> changes;
};

/// Reads all directories of the file, and of those of its set, and decides what is imported. Throws
/// ImportException.
ImportPlan planImport(boost::filesystem::path const& file, ImportOptions const& options);

/// Whether this library wrote the file, so that it needs no import.
bool isOwnFile(boost::filesystem::path const& file);

} // namespace velmo::importer
