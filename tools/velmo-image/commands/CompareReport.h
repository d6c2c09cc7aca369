// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/Comparison.h"

#include <array>
#include <string>
#include <vector>

namespace velmo::tool {

/// Numbers of columns, rows, planes, channels and time steps.
using ImageSizes = std::array<vlUInt64, 5>;
ImageSizes getSizes(image::BaseImage const& image);

/// A property, apart from sizes and pixels, that two images have with different values.
struct PropertyDifference {
    std::string name;
    std::string a;
    std::string b;
};
std::vector<PropertyDifference> findPropertyDifferences(image::BaseImage const& a, image::BaseImage const& b);

/// Two files and how they differ.
struct ComparedFiles {
    std::string fileA;
    std::string fileB;
    double tolerance;
    bool bSame; ///< has no meaning after an error
    ImageSizes sizesA;
    ImageSizes sizesB;
    std::optional<Comparison> pixels; ///< empty if the sizes differ
    std::vector<PropertyDifference> properties;
    std::string error; ///< empty if the files were compared
};

/// For people.
std::string toText(ComparedFiles const& files);
/// As a document.
std::string toJson(ComparedFiles const& files);

} // namespace velmo::tool
