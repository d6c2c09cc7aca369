// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/MatchCommand.h"

#include "terminal/Terminal.h"

#include <set>

namespace velmo::tool {

using image::file::TiffFileSeries;
using Files = std::vector<TiffFileSeries::File>;

MatchCommand::MatchCommand(CommandLine& line)
    : Command(line, "match", "List the file names that a pattern matches, in the order of their numbers",
              "  velmo-image match 'img<INDEX>.tif' --directory scans\n"
              "  velmo-image match '*_z<INDEX>.tif|*_z<INDEX>.tiff' --directory scans --strict\n"
              "  velmo-image match 'img<INDEX>.tif' img10.tif img2.tif\n"
              "  velmo-image match 'img?.tif' -- -img1.tif img2.tif") {
    CommandOptions& options = getOptions();
    options.addArgument(
        "PATTERN", _pattern,
        "Matches whole names: ? is any one byte, * any bytes, <INDEX> the digits of a number; "
        "| separates alternative patterns; stack reads only the first of several files with the same number");
    options.addArguments("NAME", _names, "Names to match", true);
    _directoryOption =
        options.addOption("--directory", _directory, "Match the names of the files in DIRECTORY");
    options.addFlag("--strict", _bStrict, "Treat duplicate or missing numbers as errors");
}

/// Empty where each name with a folder matches.
std::string MatchCommand::findHint(Files const& matches) const {
    std::set<std::string> matching;
    for (TiffFileSeries::File const& match : matches) {
        matching.insert(match.path.string());
    }
    for (std::string const& name : _names) {
        if (name.find('/') != std::string::npos && matching.count(name) == 0) {
            return "hint: " + quoted(name) +
                   " does not match: a pattern must match the whole path; --directory DIRECTORY matches "
                   "the "
                   "names of the files in a directory";
        }
    }
    return {};
}

eExitStatus MatchCommand::run() const {
    bool const bDirectory = _directoryOption.isGiven();
    if (bDirectory == !_names.empty()) {
        throw WrongUse("match needs either names or --directory: velmo-image match 'img<INDEX>.tif' "
                       "--directory scans");
    }
    warnOfMistakenKeyword(_pattern);
    TiffFileSeries const series =
        bDirectory ? findSeries(_directory, _pattern) : selectSeries(_names, _pattern);
    Files const matches = listMatches(series);
    std::string const hint = findHint(matches);
    if (matches.empty()) {
        throw WorkFailure(bDirectory
                              ? explainNoMatch(_directory, _pattern)
                              : "no name matches " + quoted(_pattern) + (hint.empty() ? "" : '\n' + hint));
    }
    std::string lines;
    for (TiffFileSeries::File const& match : matches) {
        std::string const name = bDirectory ? match.path.filename().string() : match.path.string();
        lines += name + '\t' + (match.number ? std::to_string(*match.number) : "-") + '\n';
    }
    printOutput(lines);
    if (!hint.empty()) {
        printMessage(hint);
    }
    reportProblems(series, _bStrict);
    return eES_Done;
}

} // namespace velmo::tool
