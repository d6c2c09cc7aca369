// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffSeries.h"

#include "Suite.h"

#include <boost/filesystem/operations.hpp>
#include <sys/resource.h>

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
    TiffLayout const layout = {size, size, nbFiles};
    auto const getFile = [](fs::path const& folder, vlUInt64 file) {
        return (folder / ("plane" + std::to_string(file) + ".tif")).string();
    };
    fs::path const folder = data.getOrMake(
        "series" + std::to_string(size) + 'x' + std::to_string(nbFiles), [&](std::string const& made) {
            fs::create_directories(made);
            Pixels const pixels = makePixels(layout);
            for (vlUInt64 file = 0; file < nbFiles; ++file) {
                saveByLibtiff(getFile(made, file), {size, size, 1},
                              pixels.data() + file * layout.getPlaneBytes(), COMPRESSION_NONE);
            }
        });
    auto const pSeries = std::make_shared<TiffSeries>(TiffSeries{layout, folder, {}});
    for (vlUInt64 file = 0; file < nbFiles; ++file) {
        pSeries->files.push_back(getFile(folder, file));
    }
    return pSeries;
}

} // namespace velmo::bench
