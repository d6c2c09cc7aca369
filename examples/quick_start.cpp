// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The first program of the README, on files that this program makes first.

#include "Example.h"

#include <boost/filesystem/operations.hpp>

void quickStart() {
    // [quick start]
    using namespace velmo::image;
    ImagePtr const stack = file::loadTiffImageFile("stack.tif"); // into memory
    file::saveTiffImageFile("copy.tif", stack);                  // with its calibration

    // Row y = 20 of the plane z = 3, c = 0, t = 0. std::uint16_t is right for pixels of type eIBT_UInt16; for
    // any other pixel type this throws, and the message names the C++ type to use.
    std::vector<std::uint16_t> const row = readRow<std::uint16_t>(stack, {3, 0, 0}, 20);

    // The same row of an image that stays in its file: only the row is read. Any thread may read.
    DiskImagePtr const onDisk = file::openTiffImageFile("copy.tif");
    std::vector<std::uint16_t> const same = readRow<std::uint16_t>(onDisk, {3, 0, 0}, 20);

    // z1.tif, z2.tif ... of a folder as one volume, in the order of their numbers. Empty if no file matches.
    ImagePtr const volume = file::loadTiffImageFiles("slices", "z<INDEX>.tif");
    if (volume) {
        std::cout << volume->getGeometry().getSizeZ() << " planes of " << volume->getBufferType() << '\n';
    }
    // [quick start]
    require(row[10] == pixelOf(3, 20 * 64 + 10), "the row in memory");
    require(same == row, "the row on demand");
    require(volume && volume->getGeometry().getSizeZ() == 3, "three slices");
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
