// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "measure/ImageStatistics.h"

#include <string>

namespace velmo::tool {

/// A file and the statistics of its sets of pixels.
struct MeasuredFile {
    std::string file;
    std::string format;
    eGrouping grouping;
    std::vector<PixelStatistics> statistics; ///< empty after an error
    std::string error;                       ///< empty if the file was measured
};

/// For people: a block of lines for each set of pixels.
std::string toText(MeasuredFile const& file);
/// The first line of a CSV table.
std::string getCsvHeader(StatisticsRequest const& request);
/// A line for each set of pixels.
std::string toCsv(MeasuredFile const& file);
/// One document for all files.
std::string toJson(std::vector<MeasuredFile> const& files);

} // namespace velmo::tool
