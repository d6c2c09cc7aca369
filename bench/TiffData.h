// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "BenchData.h"
#include "TiffLowerBound.h"

#include <VELMOImage/BaseImage.h>

namespace velmo::bench {

/// A TIFF file in the page cache, its pixels in memory, and another path to write to.
struct TiffVolume {
    image::ImagePtr pImage;
    boost::filesystem::path path;
    boost::filesystem::path target;
    vlUInt64 nbBytes;

    PlanesOf16Bits getPlanes() const;
    void requireSamePixels(image::BaseImage const& other) const;
};

/// Pixels of 16 bits similar to those of a camera: a bright shape, and noise in the low bits. `sizeC` is 1 or
/// 3.
image::ImagePtr makePicture(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeC, vlUInt64 sizeZ);

/// A file with one directory for each plane, written by a loop over libtiff; `compression` is libtiff's.
TiffVolume makeTiff(BenchData& data, vlUInt64 size, vlUInt64 nbPlanes, int compression);

/// A single-directory stack.
TiffVolume makeImageJStack(BenchData& data, vlUInt64 size, vlUInt64 nbPlanes);

} // namespace velmo::bench
