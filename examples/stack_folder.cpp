// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Joins the numbered files of a folder into one image, and tests whether a pattern matches a name.

#include "Example.h"

#include <boost/filesystem/operations.hpp>

using namespace velmo;
using namespace velmo::image;

void stackFolder() {
    // [stack a folder]
    // img1.tif, img2.tif ... img10.tif, in the order of their numbers. Empty if no name matches.
    ImagePtr const volume = file::loadTiffImageFiles("scans", "img<INDEX>.tif");
    if (!volume) {
        throw std::runtime_error("no img<INDEX>.tif in scans");
    }
    // The same as time steps. The pixels stay in the files, which are open as long as the image exists.
    ImagePtr const film =
        file::openTiffImageFiles("scans", "img<INDEX>.tif", file::TiffReadOptions{file::eTDM_Temporal});
    // [stack a folder]
    require(volume->getGeometry().getSizeZ() == 10, "ten planes");
    require(film->getGeometry().getSizeT() == 10, "ten time steps");
    require(readPlane<std::uint16_t>(volume, {9, 0, 0})[0] == pixelOf(10, 0),
            "img10.tif comes last, not behind img1.tif");
    require(!file::loadTiffImageFiles("scans", "*.png"), "no match");
}

void matchNames() {
    // [match a name]
    vlUInt64 number = 0;
    bool const bMatches =
        file::testFilePatternMatching("img<INDEX>.tif|img<INDEX>.tiff", "img0012.tiff", number);
    // [match a name]
    require(bMatches && number == 12, "the number of img0012.tiff");
}

int main() {
    return runExample([] {
        boost::filesystem::create_directories("scans");
        for (vlUInt64 z = 1; z <= 10; ++z) {
            file::saveTiffImageFile("scans/img" + std::to_string(z) + ".tif", makeVolume(1, z));
        }
        stackFolder();
        matchNames();
    });
}
