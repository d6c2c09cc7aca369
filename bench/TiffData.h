// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "BenchData.h"
#include "TiffLowerBound.h"

#include <VELMOImage/BaseImage.h>
#include <tiff.h>

namespace velmo::bench {

/// Pixels as a file stores them without compression: page after page, interleaved.
using Pixels = std::vector<std::byte>;

/// Pixels similar to those of a camera: a bright shape, and noise in the low bits. The same layout has the
/// same pixels.
Pixels makePixels(TiffLayout const& layout);
/// An image in memory with these pixels.
image::ImagePtr toImage(TiffLayout const& layout, Pixels const& pixels);
void requireSamePixels(image::BaseImage const& image, TiffLayout const& layout, Pixels const& pixels);
/// Reads the file by a loop over libtiff and compares it.
void requireSamePixels(std::string const& path, Pixels const& pixels);

/// A TIFF file in the page cache.
struct TiffFile {
    TiffLayout layout;
    std::string path;

    /// Compares the image with the pixels that the file was made of.
    void requireSamePixels(image::BaseImage const& image) const;
};

/// A file with one directory for each plane, written by a loop over libtiff at first use.
TiffFile makeTiff(BenchData& data, TiffLayout const& layout, int compression = COMPRESSION_NONE);
/// A single-directory stack.
TiffFile makeImageJStack(BenchData& data, TiffLayout const& layout);

} // namespace velmo::bench
