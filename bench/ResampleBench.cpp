// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Floor.h"
#include "Suite.h"

#include <VELMOGeometricTransform/ResampleCustomZStack3dImgLvl1.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/make_shared.hpp>
#include <cstring>

namespace velmo {
namespace bench {

namespace {

namespace attr = imaproc::attr;

constexpr vlUInt64 g_size = 1024;
constexpr vlUInt64 g_nbPlanes = 100;
constexpr vlUInt64 g_nbOutputPlanes = 300;
constexpr vlUInt64 g_planeBytes = g_size * g_size * 2;

attr::ZStepsPtr makeSteps() {
    auto const pSteps = boost::make_shared<attr::ZSteps>();
    for (vlUInt64 plane = 1; plane < g_nbPlanes; ++plane) {
        pSteps->accessSteps().push_back(plane % 3 == 0 ? 1.5F : 1.0F);
    }
    return pSteps;
}

image::ImagePtr resample(RawFile const& file) {
    imaproc::gtrans::ResampleCustomZStack3dImgLvl1 processor;
    processor.init(processor::ePRP_Strict);
    processor.set<attr::InImg3d>(image::file::openRawImageFile(file.path, *file.pGeometry, 0));
    processor.set<attr::InZSteps>(makeSteps());
    processor.set<attr::InInterpolationPolicy>(attr::eIP_Linear);
    processor.set<attr::InOutputImg3dZSize>(g_nbOutputPlanes);
    processor.run(processor::eST_Synchronous);
    return processor.getStorage<attr::OutImg>();
}

double timeResample(RawFile const& file) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = resample(file);
    return stopwatch.getSeconds();
}

/// Reads each input plane once and writes each output plane once.
double timeReadAndWrite(RawFile const& file) {
    Stopwatch const stopwatch;
    Descriptor const descriptor = Descriptor::openForReading(file.path.string());
    FreshMemory const plane(g_planeBytes);
    FreshMemory const output(g_nbOutputPlanes * g_planeBytes);
    for (vlUInt64 z = 0; z < g_nbOutputPlanes; ++z) {
        if (z % (g_nbOutputPlanes / g_nbPlanes) == 0) {
            descriptor.read(plane.getData(), g_planeBytes,
                            z / (g_nbOutputPlanes / g_nbPlanes) * g_planeBytes);
        }
        std::memcpy(output.getData() + z * g_planeBytes, plane.getData(), g_planeBytes);
    }
    return stopwatch.getSeconds();
}

} // namespace

void addResampleBenchmarks(Suite& suite) {
    suite.add(
        "resample 100 planes of 2 MB to 300, linear / read and write", Quantity::time(), atMost(2), [&suite] {
            RawFile const file = suite.getData().getVolume(g_size, g_size, g_nbPlanes);
            return Contenders{[=] { return timeResample(file); }, [=] { return timeReadAndWrite(file); }};
        });
}

} // namespace bench
} // namespace velmo
