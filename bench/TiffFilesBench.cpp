// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Floor.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <memory>
#include <sys/resource.h>
#include <tiff.h>

namespace velmo {
namespace bench {

namespace {

namespace fs = boost::filesystem;

/// A folder of files of one plane each, in the page cache.
struct Series {
    TiffVolume volume; ///< all planes; its path is the folder
    std::vector<std::string> files;

    double perFile(double seconds) const { return seconds / static_cast<double>(files.size()); }
};
using SeriesPtr = std::shared_ptr<Series const>;

void allowManyFiles() {
    rlimit limit{};
    require(getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_max > 10100, "Too few files may be open");
    limit.rlim_cur = limit.rlim_max;
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0, "The limit of open files stays");
}

image::ImagePtr load(Series const& series) {
    return image::file::loadTiffImageFiles(series.volume.path, "plane<INDEX>.tif", image::file::eTDM_Volume,
                                           image::file::eTBM_Default);
}

SeriesPtr makeSeries(BenchData& data, vlUInt64 size, vlUInt64 nbFiles) {
    allowManyFiles();
    fs::path const folder =
        data.getFolder() / ("series" + std::to_string(size) + 'x' + std::to_string(nbFiles));
    fs::create_directories(folder);
    image::ImagePtr const pImage = makePicture(size, size, 1, nbFiles);
    auto const pSeries = std::make_shared<Series>();
    pSeries->volume = {pImage, folder, {}, pImage->getGeometry().getFullMemorySize()};
    PlanesOf16Bits plane = pSeries->volume.getPlanes();
    plane.nbPlanes = 1;
    for (vlUInt64 file = 0; file < nbFiles; ++file) {
        pSeries->files.push_back((folder / ("plane" + std::to_string(file) + ".tif")).string());
        saveByLibtiff(pSeries->files.back(), plane, COMPRESSION_NONE);
        plane.pPixels += plane.getPlaneBytes();
    }
    pSeries->volume.requireSamePixels(*load(*pSeries));
    return pSeries;
}

double timeLoad(Series const& series) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = load(series);
    return stopwatch.getSeconds();
}

/// A loop over the files, each opened once, into the kind of memory that an image has.
double timeLoop(Series const& series) {
    Stopwatch const stopwatch;
    FreshMemory const memory(series.volume.nbBytes);
    std::byte* pPlane = memory.getData();
    for (std::string const& file : series.files) {
        pPlane += readByLibtiff(file, pPlane, series.volume.nbBytes);
    }
    return stopwatch.getSeconds();
}

} // namespace

void addTiffFilesBenchmarks(Suite& suite) {
    suite.add("TIFF files, 500 of 0.5 MB as a volume / libtiff loop", Quantity::time(), atMost(1.2),
              [&suite] {
                  SeriesPtr const pSeries = makeSeries(suite.getData(), 512, 500);
                  return Contenders{[=] { return timeLoad(*pSeries); }, [=] { return timeLoop(*pSeries); }};
              });
    suite.add("TIFF files, per file, 10000 of 8 KB / 500", Quantity::time(), atMost(1.2), [&suite] {
        SeriesPtr const pMany = makeSeries(suite.getData(), 64, 10000);
        SeriesPtr const pFew = makeSeries(suite.getData(), 64, 500);
        return Contenders{[=] { return pMany->perFile(timeLoad(*pMany)); },
                          [=] { return pFew->perFile(measureMedian(5, [&] { return timeLoad(*pFew); })); }};
    });
}

} // namespace bench
} // namespace velmo
