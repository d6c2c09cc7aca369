// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffSeries.h"

#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::bench {

namespace {

image::ImagePtr load(TiffSeries const& series) {
    return image::file::loadTiffImageFiles(series.volume.path, g_seriesPattern, image::file::eTDM_Volume,
                                           image::file::eTBM_Default);
}

double timeLoad(TiffSeries const& series) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = load(series);
    return stopwatch.getSeconds();
}

/// A loop over the files. It opens each file once and reads it into the kind of memory that an image uses.
double timeLibtiffLoop(TiffSeries const& series) {
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
    suite.add(
        "TIFF files, 500 of 0.5 MB as a volume / libtiff loop", Quantity::time(), atMost(1.2), [&suite] {
            TiffSeriesPtr const pSeries = makeSeries(suite.getData(), 512, 500);
            pSeries->volume.requireSamePixels(*load(*pSeries));
            return Contenders{[=] { return timeLoad(*pSeries); }, [=] { return timeLibtiffLoop(*pSeries); }};
        });
    suite.add("TIFF files, per file, 10000 of 8 KB / 500", Quantity::time(), atMost(1.2), [&suite] {
        TiffSeriesPtr const pMany = makeSeries(suite.getData(), 64, 10000);
        TiffSeriesPtr const pFew = makeSeries(suite.getData(), 64, 500);
        return Contenders{[=] { return pMany->perFile(timeLoad(*pMany)); },
                          [=] { return pFew->perFile(measureMedian(5, [&] { return timeLoad(*pFew); })); }};
    });
}

} // namespace velmo::bench
