// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Floor.h"
#include "Suite.h"

#include <VELMOImage/BaseImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <cstring>
#include <memory>

namespace velmo {
namespace bench {

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

double timePread(RawFile const& file) {
    Stopwatch const stopwatch;
    FreshMemory const memory(file.nbBytes);
    Descriptor::openForReading(file.path.string()).read(memory.getData(), file.nbBytes, 0);
    return stopwatch.getSeconds();
}

double timePreadOfTwoThreads(RawFile const& file) {
    FreshMemory const memory(file.nbBytes);
    Descriptor const descriptor = Descriptor::openForReading(file.path.string());
    vlUInt64 const half = file.nbBytes / 2;
    return timeThreads(
        2, [](vlUInt64) {},
        [&](vlUInt64 thread) { descriptor.read(memory.getData() + thread * half, half, thread * half); });
}

void requireSameBytes(image::BaseImage const& image, RawFile const& file) {
    FreshMemory const expected(file.nbBytes);
    Descriptor::openForReading(file.path.string()).read(expected.getData(), file.nbBytes, 0);
    vlUInt64 const planSize = file.pGeometry->getPlanMemorySize(0);
    FreshMemory const plan(planSize);
    for (vlUInt64 z = 0; z < file.pGeometry->getSizeZ(); ++z) {
        BoolResult const result =
            image.readPixels(z, 0, 0, 0, file.pGeometry->getPlanNbPixels(), plan.getData());
        require(static_cast<bool>(result), result.getMessage());
        require(std::memcmp(plan.getData(), expected.getData() + z * planSize, planSize) == 0,
                "The image differs from the file");
    }
}

} // namespace

void addLoadBenchmarks(Suite& suite) {
    suite.add("load 800 MB, 1 thread / pread", Quantity::time(), atMost(1.15), [&suite] {
        RawFile const& file = suite.getData().getVolume(1024, 1024, 400);
        requireSameBytes(*image::file::loadRawImageFile(file.path, *file.pGeometry), file);
        return Contenders{[&file] { return timeLoad(file); }, [&file] { return timePread(file); }};
    });
    suite.add("distributed load 800 MB / pread of 2 threads", Quantity::time(), noLimit(), [&suite] {
        RawFile const& file = suite.getData().getVolume(1024, 1024, 400);
        requireSameBytes(*image::file::loadDistributedRawImageFile(file.path, *file.pGeometry, 0, true),
                         file);
        return Contenders{[&file] { return timeDistributedLoad(file); },
                          [&file] { return timePreadOfTwoThreads(file); }};
    });
}

} // namespace bench
} // namespace velmo
