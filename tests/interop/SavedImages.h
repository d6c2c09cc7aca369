// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <VELMOImage/ImageGeometry.h>
#include <string>
#include <vector>

namespace velmo::test {

/// An image to save, and what a reader of the file has to find.
struct SavedImage {
    std::string name;
    image::ImageGeometryPtr pGeometry;
    std::string pixels; ///< all planes, t outermost, then c, then z

    image::ImagePtr makeImage() const;
    /// The planes in the order of the directories, and in one directory in that of its samples.
    std::vector<std::string> getPlanes() const;
    bool isInterleaved() const;
};

/// Every pixel type, colours, volumes and sequences, most of them of a height that strips do not fill. The
/// last rows of all are black, and so is one plane.
std::vector<SavedImage> makeSavedImages();

} // namespace velmo::test
