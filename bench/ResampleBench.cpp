// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountedMemory.h"
#include "LowerBound.h"
#include "Suite.h"
#include "TiffSeries.h"

#include <VELMOGeometricTransform/ResampleCustomZStack3dImgLvl1.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/make_shared.hpp>
#include <cstring>

namespace velmo::bench {

namespace {

namespace attr = imaproc::attr;
namespace fs = boost::filesystem;

constexpr vlUInt64 g_size = 1024;
constexpr vlUInt64 g_nbOutputs = 3; ///< planes of the output for each plane of the input
constexpr vlUInt64 g_planeBytes = g_size * g_size * 2;

attr::ZStepsPtr makeSteps(vlUInt64 nbPlanes) {
    auto const pSteps = boost::make_shared<attr::ZSteps>();
    for (vlUInt64 plane = 1; plane < nbPlanes; ++plane) {
        pSteps->accessSteps().push_back(plane % 3 == 0 ? 1.5F : 1.0F);
    }
    return pSteps;
}

image::ImagePtr resample(RawFile const& file) {
    imaproc::gtrans::ResampleCustomZStack3dImgLvl1 processor;
    require(static_cast<bool>(processor.init(processor::ePRP_Strict)), "The processor cannot be used");
    processor.set<attr::InImg3d>(image::file::openRawImageFile(file.path, *file.pGeometry, 0));
    processor.set<attr::InZSteps>(makeSteps(file.pGeometry->getSizeZ()));
    processor.set<attr::InInterpolationPolicy>(attr::eIP_Linear);
    processor.set<attr::InOutputImg3dZSize>(g_nbOutputs * file.pGeometry->getSizeZ());
    processor::ActionResult const result = processor.run(processor::eST_Synchronous);
    require(result.getStatus() == 0, result.getMessage());
    return processor.getStorage<attr::OutImg>();
}

double timeResample(RawFile const& file) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = resample(file);
    return stopwatch.getSeconds();
}

image::ImagePtr resample(TiffSeries const& series, fs::path const& stepsFile) {
    return image::file::loadCustomZStackImageFiles(
        series.folder, stepsFile, g_nbOutputs * series.layout.nbPlanes, attr::eIP_Linear, g_seriesPattern);
}

double timeResample(TiffSeries const& series, fs::path const& stepsFile) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = resample(series, stepsFile);
    return stopwatch.getSeconds();
}

/// Reads each of `nbPlanes` input planes once with `read(z, pPlane)`, and writes each output plane once.
template <class Read>
double timeReadAndWrite(vlUInt64 nbPlanes, Read const& read) {
    Stopwatch const stopwatch;
    FreshMemory const plane(g_planeBytes);
    FreshMemory const output(g_nbOutputs * nbPlanes * g_planeBytes);
    for (vlUInt64 z = 0; z < g_nbOutputs * nbPlanes; ++z) {
        if (z % g_nbOutputs == 0) {
            read(z / g_nbOutputs, plane.getData());
        }
        std::memcpy(output.getData() + z * g_planeBytes, plane.getData(), g_planeBytes);
    }
    return stopwatch.getSeconds();
}

double timeByPread(RawFile const& file) {
    Descriptor const descriptor = Descriptor::openForReading(file.path.string());
    return timeReadAndWrite(file.pGeometry->getSizeZ(), [&](vlUInt64 z, std::byte* pPlane) {
        descriptor.read(pPlane, g_planeBytes, z * g_planeBytes);
    });
}

double timeByLibtiff(TiffSeries const& series) {
    return timeReadAndWrite(series.layout.nbPlanes, [&](vlUInt64 z, std::byte* pPlane) {
        readByLibtiff(series.files[z], pPlane, g_planeBytes);
    });
}

fs::path writeSteps(BenchData& data, vlUInt64 nbPlanes) {
    fs::path const file = data.getFolder() / "steps.xml";
    writeToXmlFile(file, *makeSteps(nbPlanes));
    return file;
}

} // namespace

void addResampleBenchmarks(Suite& suite) {
    suite.add("resample 100 files of 2 MB to 300 planes, linear / libtiff loop and write", Quantity::time(),
              atMost(2), [&suite] {
                  TiffSeriesPtr const pSeries = makeSeries(suite.getData(), g_size, suite.cut(100));
                  fs::path const steps = writeSteps(suite.getData(), pSeries->layout.nbPlanes);
                  return Contenders{[=] { return timeResample(*pSeries, steps); },
                                    [=] { return timeByLibtiff(*pSeries); }};
              });
    suite.add("resample a raw volume the same way / pread and write", Quantity::time(), noLimit(), [&suite] {
        RawFile const file = suite.getData().getVolume(g_size, g_size, suite.cut(100));
        return Contenders{[=] { return timeResample(file); }, [=] { return timeByPread(file); }};
    });
    suite.add("resample, memory / the output", Quantity::memory(), atMost(1.05), [&suite] {
        RawFile const file = suite.getData().getVolume(g_size, g_size, suite.cut(100));
        return Contenders{[=] { return static_cast<double>(countPeakResident([&] { resample(file); })); },
                          [=] { return static_cast<double>(g_nbOutputs * file.nbBytes); }};
    });
}

} // namespace velmo::bench
