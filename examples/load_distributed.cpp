// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Spreads a TIFF file over the workers of a distributed image.

#include "Example.h"

using namespace velmo;
using namespace velmo::image;

void loadDistributed() {
    file::saveTiffImageFile("big.tif", makeVolume(8), file::TiffWriteOptions{file::eTC_Deflate});
    // [load distributed]
    // All workers read in parallel. Each worker reads its own planes through its own handle.
    DistributedImagePtr const spread = file::loadDistributedTiffImageFile("big.tif");
    std::vector<std::uint16_t> const plane = readPlane<std::uint16_t>(spread, {6, 0, 0});
    // [load distributed]
    require(plane[9] == pixelOf(6, 9), "a plane that lies with a worker");
    require(spread->accessPlan(6, 0, 0) == nullptr,
            "the planes of a distributed image can be read, not viewed");
}

int main() {
    return runExample(loadDistributed);
}
