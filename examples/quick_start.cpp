// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The ten lines of the README, on files that this program makes first.

#include "Example.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>

void quickStart() {
    // [quick start]
    using namespace velmo::image;
    ImagePtr const stack = file::loadTiffImageFile("stack.tif");                       // into memory
    file::saveTiffImageFile("copy.tif", stack, file::TiffWriteOptions{file::eTC_Lzw}); // with its calibration

    // Left in its file: row y = 20 of plane z = 3 on demand, from any thread.
    DiskImagePtr const onDisk = file::openTiffImageFile("copy.tif");
    std::vector<std::uint16_t> row(onDisk->getGeometry().getSizeX());
    velmo::BoolResult const read = onDisk->readPixels(3, 0, 0, 20 * row.size(), row.size(), row.data());

    // z1.tif, z2.tif ... of a folder, in the order of their numbers, as one volume.
    ImagePtr const volume = file::loadTiffImageFiles("slices", "z<INDEX>.tif");
    // [quick start]
    require(bool(read), read.getMessage());
    require(row[10] == pixelOf(3, 20 * 64 + 10), "the row on demand");
    require(volume->getGeometry().getSizeZ() == 3, "three slices");
}

int main() {
    return runExample([] {
        using namespace velmo::image;
        file::saveTiffImageFile("stack.tif", makeVolume(8));
        boost::filesystem::create_directories("slices");
        for (int z = 1; z <= 3; ++z) {
            file::saveTiffImageFile("slices/z" + std::to_string(z) + ".tif", makeVolume(1));
        }
        quickStart();
    });
}
