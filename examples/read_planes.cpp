// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Leaves a TIFF file where it is and reads planes on demand, from one thread and from several.

#include "Example.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <thread>

using namespace velmo;
using namespace velmo::image;

void readOnePlane() {
    // [open on demand]
    // Opened for reading; no pixel is read yet.
    DiskImagePtr const onDisk = file::openTiffImageFile("stack.tif");
    std::vector<std::uint16_t> plane(onDisk->getGeometry().getPlanNbPixels());
    BoolResult const read =
        onDisk->readPixels(5, 0, 0, 0, plane.size(), plane.data()); // z, c, t, first, number
    if (!read) {
        throw std::runtime_error(read.getMessage());
    }
    // [open on demand]
    require(plane[7] == pixelOf(5, 7), "plane 5 on demand");

    // [change pixels in a file]
    DiskImagePtr const writable = file::openTiffImageFile("stack.tif", {}, eIAM_ReadWrite);
    plane.assign(plane.size(), 0);
    BoolResult const written = writable->writePixels(5, 0, 0, 0, plane.size(), plane.data());
    // [change pixels in a file]
    require(bool(written), written.getMessage());
    ImagePtr const again = file::loadTiffImageFile("stack.tif");
    require(static_cast<std::uint16_t const*>(again->accessPlan(5, 0, 0))[7] == 0, "the file has changed");
    require(static_cast<std::uint16_t const*>(again->accessPlan(6, 0, 0))[7] == pixelOf(6, 7),
            "its neighbour has not");
}

void readInThreads() {
    std::atomic<unsigned int> nbRight{0};
    // [planes in threads]
    // One image for all threads: each takes its planes, into memory of its own.
    ImagePtr const volume = file::openTiffImageFiles("planes", "z<INDEX>.tif");
    auto const work = [&](vlUInt64 firstZ) {
        std::vector<std::uint16_t> plane(volume->getGeometry().getPlanNbPixels());
        for (vlUInt64 z = firstZ; z < volume->getGeometry().getSizeZ(); z += 4) {
            if (volume->readPixels(z, 0, 0, 0, plane.size(), plane.data()) && plane[7] == pixelOf(z, 7)) {
                ++nbRight;
            }
        }
    };
    std::vector<std::thread> threads;
    for (vlUInt64 first = 0; first < 4; ++first) {
        threads.emplace_back(work, first);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    // [planes in threads]
    require(nbRight == 12, "all twelve planes, whoever read them");
}

int main() {
    return runExample([] {
        file::saveTiffImageFile("stack.tif", makeVolume(8));
        readOnePlane();
        boost::filesystem::create_directories("planes");
        for (vlUInt64 z = 0; z < 12; ++z) {
            file::saveTiffImageFile("planes/z" + std::to_string(z) + ".tif", makeVolume(1, z));
        }
        readInThreads();
    });
}
