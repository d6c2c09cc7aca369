// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffSeries.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <sys/resource.h>

namespace velmo::bench {

namespace {

image::ImagePtr load(TiffSeries const& series) {
    return image::file::loadTiffImageFiles(series.folder, g_seriesPattern);
}

void loadByLibtiff(TiffSeries const& series) {
    FreshMemory const memory(series.layout.getNbBytes());
    std::byte* pPlane = memory.getData();
    for (std::string const& file : series.files) {
        pPlane += readByLibtiff(file, pPlane, series.layout.getPlaneBytes());
    }
    require(pPlane == memory.getData() + series.layout.getNbBytes(), "libtiff reads other bytes");
}

double getProcessorSeconds() {
    rusage usage{};
    require(getrusage(RUSAGE_SELF, &usage) == 0, "getrusage");
    auto const toSeconds = [](timeval const& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return toSeconds(usage.ru_utime) + toSeconds(usage.ru_stime);
}

/// Seconds of `work`.
template <class Work>
double timeElapsed(Work const& work) {
    Stopwatch const stopwatch;
    work();
    return stopwatch.getSeconds();
}

/// Seconds of `work` on all processors together, with releasing its result.
template <class Work>
double timeProcessors(Work const& work) {
    double const before = getProcessorSeconds();
    work();
    return getProcessorSeconds() - before;
}

void add(Suite& suite, std::string const& name, vlUInt64 size, vlUInt64 nbFiles, Limit const& limit,
         double (*measure)(std::function<void()> const&)) {
    suite.add(name, Quantity::time(), limit, [=, &suite] {
        TiffSeriesPtr const pSeries = makeSeries(suite.getData(), size, suite.cut(nbFiles));
        requireSamePixels(*load(*pSeries), pSeries->layout, makePixels(pSeries->layout));
        return Contenders{[=] { return measure([&] { load(*pSeries); }); },
                          [=] { return measure([&] { loadByLibtiff(*pSeries); }); }};
    });
}

} // namespace

void addTiffFilesBenchmarks(Suite& suite) {
    add(suite, "TIFF folder, 500 files of 0.5 MB / libtiff loop", 512, 500, atMost(1.2), timeElapsed);
    add(suite, "TIFF folder, 10,000 files of 8 KB, processor time / libtiff loop", 64, 10000, atMost(0.6),
        timeProcessors);
}

} // namespace velmo::bench
