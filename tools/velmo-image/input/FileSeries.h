// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/TiffFileSeries.h>

namespace velmo::tool {

/// The library's `findTiffFiles`; an interrupt ends the process at once. Throws WorkFailure where the
/// directory cannot be listed or a number is too large.
image::file::TiffFileSeries findSeries(boost::filesystem::path const& directory, std::string const& pattern);
/// The library's `selectTiffFiles`. Throws WorkFailure where a number is too large.
image::file::TiffFileSeries selectSeries(std::vector<std::string> const& names, std::string const& pattern);

/// All matches, also those that a load skips, in ascending order.
std::vector<image::file::TiffFileSeries::File> listMatches(image::file::TiffFileSeries const& series);

/// The message where no file of a directory matches: it names a file of the directory, and the keyword where
/// the pattern does not have it.
std::string explainNoMatch(std::string const& directory, std::string const& pattern);

/// Prints a warning where the pattern has a misspelt `<INDEX>`, which matches its own letters only.
void warnOfMistakenKeyword(std::string const& pattern);

/// Prints duplicate and missing numbers as warnings, in lines of bounded number and length; with `bStrict`
/// throws them as one WorkFailure.
void reportProblems(image::file::TiffFileSeries const& series, bool bStrict);

} // namespace velmo::tool
