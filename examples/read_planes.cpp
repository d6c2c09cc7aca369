// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Leaves a TIFF file where it is and reads planes on demand, from one thread and from several.

#include "Example.h"

#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <future>

using namespace velmo;
using namespace velmo::image;

void readOnePlane() {
    // [open on demand]
    // Opened for reading; no pixel is read yet.
    DiskImagePtr const onDisk = file::openTiffImageFile("stack.tif");
    std::vector<std::uint16_t> plane = readPlane<std::uint16_t>(onDisk, {5, 0, 0}); // z, c, t
    // [open on demand]
    require(plane[7] == pixelOf(5, 7), "plane 5 on demand");

    // [change pixels in a file]
    DiskImagePtr const writable = file::openTiffImageFile("stack.tif", {}, eIAM_ReadWrite);
    plane.assign(plane.size(), 0);
    writePlane(writable, {5, 0, 0}, plane);
    // [change pixels in a file]
    ImagePtr const again = file::loadTiffImageFile("stack.tif");
    require(readPlane<std::uint16_t>(again, {5, 0, 0})[7] == 0, "the file has changed");
    require(readPlane<std::uint16_t>(again, {6, 0, 0})[7] == pixelOf(6, 7), "its neighbour has not");
}

void readInThreads() {
    std::atomic<unsigned int> nbRight{0};
    // [planes in threads]
    // One image for all threads. Each thread reads every fourth plane into a vector of its own.
    ImagePtr const volume = file::openTiffImageFiles("planes", "z<INDEX>.tif");
    if (!volume) {
        throw std::runtime_error("no z<INDEX>.tif in planes");
    }
    auto const work = [&](vlUInt64 firstZ) {
        std::vector<std::uint16_t> plane;
        for (vlUInt64 z = firstZ; z < volume->getGeometry().getSizeZ(); z += 4) {
            readPlane(volume, {z, 0, 0}, plane);
            nbRight += plane[7] == pixelOf(z, 7) ? 1 : 0;
        }
    };
    std::vector<std::future<void>> workers;
    for (vlUInt64 first = 0; first < 4; ++first) {
        workers.push_back(std::async(std::launch::async, work, first));
    }
    for (std::future<void>& worker : workers) {
        worker.get(); // throws what the thread threw
    }
    // [planes in threads]
    require(nbRight == 12, "all twelve planes are right");
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
