// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/MatchCommand.h"

#include "terminal/Terminal.h"

#include <set>

namespace velmo::tool {

MatchCommand::MatchCommand(CLI::App& parent)
    : Command(parent, "match", "List the names that a pattern matches, in the order of a stack",
              "  velmo-image match 'img<INDEX>.tif' --directory scans\n"
              "  velmo-image match '*_z<INDEX>.tif|*_z<INDEX>.tiff' --directory scans --strict\n"
              "  velmo-image match 'img<INDEX>.tif' img10.tif img2.tif\n"
              "  velmo-image match 'img?.tif' -- -img1.tif img2.tif") {
    getApp()
        .add_option("PATTERN", _pattern,
                    "Of the whole name: ? is any one byte, * any bytes, <INDEX> the digits of a number; "
                    "| separates patterns; of equal numbers the first found stays")
        ->required();
    getApp().add_option("NAME", _names, "Names to try");
    _pDirectory = getApp().add_option("--directory", _directory, "Try the names of the files in there");
    getApp().add_flag("--strict", _bStrict, "Equal or missing numbers are failures");
}

/// Empty where each name with a folder matches.
std::string MatchCommand::findHint(FileSeries const& series) const {
    std::set<std::string> matches;
    for (FileSeries::Entry const& entry : series.getEntries()) {
        matches.insert(entry.name);
    }
    for (std::string const& name : _names) {
        if (name.find('/') != std::string::npos && matches.count(name) == 0) {
            return "hint: a name is matched whole, with its folders, and " + quoted(name) +
                   " does not match; --directory FOLDER matches the names of the files in a folder";
        }
    }
    return {};
}

eExitStatus MatchCommand::run() const {
    bool const bDirectory = _pDirectory->count() != 0;
    if (bDirectory == !_names.empty()) {
        throw WrongUse("match takes names or --directory, one of the two: velmo-image match 'img<INDEX>.tif' "
                       "--directory scans");
    }
    tellMistakenKeyword(_pattern);
    FileSeries const series =
        bDirectory ? FileSeries::findIn(_directory, _pattern) : FileSeries::select(_names, _pattern);
    std::string const hint = findHint(series);
    if (series.getEntries().empty()) {
        throw WorkFailure(bDirectory
                              ? explainNoMatch(_directory, _pattern)
                              : "no name matches " + quoted(_pattern) + (hint.empty() ? "" : '\n' + hint));
    }
    std::string lines;
    for (FileSeries::Entry const& entry : series.getEntries()) {
        lines += entry.name + '\t' + (series.hasIndices() ? std::to_string(entry.index) : "-") + '\n';
    }
    printOutput(lines);
    if (!hint.empty()) {
        printMessage(hint);
    }
    tellProblems(series, _bStrict);
    return eES_Done;
}

} // namespace velmo::tool
