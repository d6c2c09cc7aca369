// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImage/BaseImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <cstring>

namespace velmo::bench {

namespace {

double timeLoad(RawFile const& file) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = image::file::loadRawImageFile(file.path, *file.pGeometry);
    return stopwatch.getSeconds();
}

double timeDistributedLoad(RawFile const& file) {
    Stopwatch const stopwatch;
    auto const pImage = image::file::loadDistributedRawImageFile(file.path, *file.pGeometry, 0, true);
    return stopwatch.getSeconds();
}

void requireSameBytes(image::BaseImage const& image, RawFile const& file) {
    FreshMemory const expected(file.nbBytes);
    Descriptor::openForReading(file.path.string()).read(expected.getData(), file.nbBytes, 0);
    vlUInt64 const planeSize = file.pGeometry->getPlanMemorySize(0);
    FreshMemory const plane(planeSize);
    for (vlUInt64 z = 0; z < file.pGeometry->getSizeZ(); ++z) {
        BoolResult const result =
            image.readPixels(z, 0, 0, 0, file.pGeometry->getPlanNbPixels(), plane.getData());
        require(static_cast<bool>(result), result.getMessage());
        require(std::memcmp(plane.getData(), expected.getData() + z * planeSize, planeSize) == 0,
                "The image differs from the file");
    }
}

void addLoad(Suite& suite, std::string const& what, Limit const& limit, vlUInt64 sizeX, vlUInt64 sizeY,
             vlUInt64 sizeZ) {
    suite.add("raw load " + what + ", 1 thread / pread", Quantity::time(), limit, [=, &suite] {
        RawFile const file = suite.getData().getVolume(sizeX, sizeY, suite.cut(sizeZ));
        requireSameBytes(*image::file::loadRawImageFile(file.path, *file.pGeometry), file);
        return Contenders{[file] { return timeLoad(file); },
                          [file] { return timePread(file.path.string(), file.nbBytes); }};
    });
}

} // namespace

void addLoadBenchmarks(Suite& suite) {
    addLoad(suite, "800 MB in planes of 2 MB", atMost(1.15), 1024, 1024, 400);
    addLoad(suite, "800 MB in planes of 128 KB", noLimit(), 256, 256, 6400);
    addLoad(suite, "1 MB", noLimit(), 256, 256, 8);
    suite.add("raw distributed load 800 MB / pread of all threads", Quantity::time(), atMost(1.2), [&suite] {
        RawFile const file = suite.getData().getVolume(1024, 1024, suite.cut(400));
        requireSameBytes(*image::file::loadDistributedRawImageFile(file.path, *file.pGeometry, 0, true),
                         file);
        return Contenders{[file] { return timeDistributedLoad(file); },
                          [file] { return timePreadOfAllThreads(file.path.string(), file.nbBytes); }};
    });
}

} // namespace velmo::bench
