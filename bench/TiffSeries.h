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
    TiffLayout layout; ///< of all planes
    boost::filesystem::path folder;
    std::vector<std::string> files;
};
using TiffSeriesPtr = std::shared_ptr<TiffSeries const>;

extern char const* const g_seriesPattern;

/// Creates the folder at first use. It also raises the limit of open files of the process to the maximum.
TiffSeriesPtr makeSeries(BenchData& data, vlUInt64 size, vlUInt64 nbFiles);

} // namespace velmo::bench
