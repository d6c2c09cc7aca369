// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "TiffData.h"

#include <memory>
#include <string>
#include <vector>

namespace velmo::bench {

/// A folder of files of one plane each, in the page cache: plane0.tif, plane1.tif and so on.
struct TiffSeries {
    TiffVolume volume; ///< all planes; its path is the folder
    std::vector<std::string> files;

    double perFile(double seconds) const { return seconds / static_cast<double>(files.size()); }
};
using TiffSeriesPtr = std::shared_ptr<TiffSeries const>;

extern char const* const g_seriesPattern;

/// Creates the folder at first use. It also raises the limit of open files of the process to the maximum.
TiffSeriesPtr makeSeries(BenchData& data, vlUInt64 size, vlUInt64 nbFiles);

} // namespace velmo::bench
