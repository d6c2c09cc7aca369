// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/SeriesOptions.h"

#include "commands/DroppedWarnings.h"
#include "commands/ImportHint.h"
#include "input/FileSeries.h"
#include "input/InputOptions.h"
#include "output/OutputFile.h"
#include "output/OutputOptions.h"
#include "output/StreamedOutput.h"
#include "terminal/Failure.h"
#include "terminal/Terminal.h"

#include <VELMOBase/ReplacedFile.h>

namespace velmo::tool {

namespace fs = boost::filesystem;
using image::file::TiffFileSeries;

void SeriesOptions::addTo(CommandOptions& options) {
    options.addArgument("DIRECTORY", _directory, "Directory of the TIFF files");
    options.addArgument("PATTERN", _pattern,
                        "Matches whole file names: ? is any one byte, * any bytes, <INDEX> the digits of a "
                        "number, by which the files are sorted; without it they are sorted by name");
    addPixelsOption(options, _pixels, "the files");
    options.addFlag("--strict", _bStrict, "Treat duplicate or missing numbers as errors");
}

image::file::eTiffBufferMode SeriesOptions::getBufferMode() const {
    return parseBufferMode(_pixels);
}

void SeriesOptions::check(OutputOptions const& output) const {
    warnOfMistakenKeyword(_pattern);
    TiffFileSeries const series = findSeries(_directory, _pattern);
    if (series.files.empty()) {
        failWithoutMatch();
    }
    for (TiffFileSeries::File const& file : listMatches(series)) {
        requireFinished(file.path);
        output.requireApartFrom(file.path, "the input file " + quoted(file.path.filename().string()));
    }
    reportProblems(series, _bStrict);
    output.requireWritable();
    if (isLaterFound(output.getFile())) {
        printMessage("warning: " + quoted(output.getFile()) +
                     " is in the input directory and matches the pattern: a later run would read it");
    }
}

void SeriesOptions::warnOfDroppedParts(OutputOptions const& output) const {
    std::vector<fs::path> files;
    for (TiffFileSeries::File const& file : findSeries(_directory, _pattern).files) {
        files.push_back(file.path);
    }
    printWarnings(_directory, findDroppedWarnings(files, output.isTiff()));
}

bool SeriesOptions::isLaterFound(fs::path const& outputFile) const {
    if (isStandardOutput(outputFile)) {
        return false;
    }
    fs::path const target = followLinks(outputFile);
    return isSameFile(_directory, target.has_parent_path() ? target.parent_path() : ".") &&
           !selectSeries({target.filename().string()}, _pattern).files.empty();
}

void SeriesOptions::requireFinished(fs::path const& file) const {
    if (isTemporaryName(file.filename().string())) {
        throw WorkFailure("cannot read " + quoted(file.string()) +
                          ": it is an unfinished output of velmo-image that matches " + quoted(_pattern));
    }
}

std::string SeriesOptions::suggestImport(std::string const& message) const {
    for (TiffFileSeries::File const& file : listMatches(findSeries(_directory, _pattern))) {
        if (message.find(quoted(file.path.string())) != std::string::npos ||
            message.find(file.path.string() + '\n') != std::string::npos) {
            std::string suggestion = tool::suggestImport(file.path);
            if (!suggestion.empty()) {
                return suggestion;
            }
        }
    }
    return {};
}

void SeriesOptions::failWithoutMatch() const {
    throw WorkFailure(explainNoMatch(_directory, _pattern));
}

} // namespace velmo::tool
