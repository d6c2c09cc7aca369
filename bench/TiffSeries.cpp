// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffSeries.h"

#include "Suite.h"

#include <boost/filesystem/operations.hpp>
#include <sys/resource.h>
#include <tiff.h>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;

void allowManyFiles() {
    rlimit limit{};
    require(getrlimit(RLIMIT_NOFILE, &limit) == 0, "The limit of open files cannot be read");
    limit.rlim_cur = limit.rlim_max;
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0, "The limit of open files cannot be raised");
}

} // namespace

char const* const g_seriesPattern = "plane<INDEX>.tif";

TiffSeriesPtr makeSeries(BenchData& data, vlUInt64 size, vlUInt64 nbFiles) {
    allowManyFiles();
    fs::path const folder =
        data.getFolder() / ("series" + std::to_string(size) + 'x' + std::to_string(nbFiles));
    fs::create_directories(folder);
    image::ImagePtr const pImage = makePicture(size, size, 1, nbFiles);
    auto const pSeries = std::make_shared<TiffSeries>();
    pSeries->volume = {pImage, folder, {}, pImage->getGeometry().getFullMemorySize()};
    PlanesOf16Bits plane = pSeries->volume.getPlanes();
    plane.nbPlanes = 1;
    for (vlUInt64 file = 0; file < nbFiles; ++file) {
        pSeries->files.push_back((folder / ("plane" + std::to_string(file) + ".tif")).string());
        saveByLibtiff(pSeries->files.back(), plane, COMPRESSION_NONE);
        plane.pPixels += plane.getPlaneBytes();
    }
    return pSeries;
}

} // namespace velmo::bench
