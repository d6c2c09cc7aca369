// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <ImportTiff.h>
#include <VELMOImage/BaseImage.h>
#include <string>
#include <vector>

namespace velmo::tool {

/// What `import` did with a file.
struct ImportSummary {
    std::string file;
    image::ImageConstPtr pImage; ///< null if nothing was imported
    std::vector<importer::OutputPart> parts;
    std::vector<importer::ImportChange> changes;
    std::vector<importer::ImportSeries> series; ///< to choose from; empty unless the choice is missing
    std::string error;                          ///< empty if the file was imported
};

/// The outputs, then a line for each change.
std::string toText(ImportSummary const& summary);
/// A document that always has all keys.
std::string toJson(ImportSummary const& summary);

} // namespace velmo::tool
