// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountedMemory.h"
#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImageFile/RawImageFile.h>
#include <algorithm>
#include <random>
#include <vector>

namespace velmo::bench {

namespace {

using image::file::RawImageFile;

constexpr vlUInt64 g_many = 10000000;
constexpr vlUInt64 g_few = 10;
constexpr vlUInt64 g_nbPixelsOfPlane = 4;

RawFile getFile(Suite const& suite, vlUInt64 nbPlanes) {
    return suite.getData().getSparseVolume(2, g_nbPixelsOfPlane / 2, nbPlanes);
}

void open(RawImageFile& accessor, RawFile const& file) {
    BoolResult const result = accessor.openFile(file.path, image::eIAM_ReadOnly, 0, *file.pGeometry);
    require(static_cast<bool>(result), result.getMessage());
}

void read(RawImageFile const& accessor, vlUInt64 z, vlUInt64 nbPixels) {
    std::byte pixels[g_nbPixelsOfPlane];
    BoolResult const result = accessor.readRawData(z, 0, 0, 0, nbPixels, pixels);
    require(static_cast<bool>(result), result.getMessage());
}

void openAndRead(RawFile const& file) {
    RawImageFile accessor;
    open(accessor, file);
    read(accessor, 0, g_nbPixelsOfPlane);
}

double timeOpening(RawFile const& file) {
    return measureMedian(500, [&file] {
        Stopwatch const stopwatch;
        openAndRead(file);
        return stopwatch.getSeconds();
    });
}

double measureOpening(RawFile const& file) {
    return static_cast<double>(countPeakBytes([&file] { openAndRead(file); }));
}

double timeFinding(RawFile const& file) {
    constexpr vlUInt64 nbReads = 500;
    RawImageFile accessor;
    open(accessor, file);
    std::mt19937_64 random(nbReads);
    std::vector<vlUInt64> planes(nbReads);
    return measureMedian(100, [&] {
        std::generate(planes.begin(), planes.end(), [&] { return random() % file.pGeometry->getSizeZ(); });
        Stopwatch const stopwatch;
        for (vlUInt64 const plane : planes) {
            read(accessor, plane, 1);
        }
        return stopwatch.getSeconds() / nbReads;
    });
}

void add(Suite& suite, std::string const& name, Quantity const& quantity, Limit const& limit,
         double (*measure)(RawFile const&)) {
    suite.add("raw " + name + ", 10,000,000 planes / 10 planes", quantity, limit, [&suite, measure] {
        RawFile const many = getFile(suite, suite.cut(g_many));
        RawFile const few = getFile(suite, g_few);
        return Contenders{[many, measure] { return measure(many); }, [few, measure] { return measure(few); }};
    });
}

} // namespace

void addOpenBenchmarks(Suite& suite) {
    add(suite, "open and read a plane", Quantity::time(), atMost(2), timeOpening);
    add(suite, "open and read a plane, memory", Quantity::memory(), atMost(2), measureOpening);
    // The operating system itself needs 20 % more time for a pixel of a 40 MB file than of a 40-byte file.
    add(suite, "find a plane and read a pixel", Quantity::time(), atMost(1.5), timeFinding);
}

} // namespace velmo::bench
