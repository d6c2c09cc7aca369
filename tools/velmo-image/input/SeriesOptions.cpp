// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/SeriesOptions.h"

#include "input/InputOptions.h"
#include "output/OutputFile.h"
#include "output/OutputOptions.h"
#include "terminal/Failure.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>
#include <VELMOBase/ReplacedFile.h>

namespace velmo::tool {

namespace fs = boost::filesystem;

void SeriesOptions::addTo(CLI::App& app) {
    app.add_option("DIRECTORY", _directory, "Where the TIFF files are")->required();
    app.add_option(
           "PATTERN", _pattern,
           "Of their whole names: ? is any one byte, * any bytes, <INDEX> the digits of a number that "
           "orders them; without it they come in the order of their names")
        ->required();
    addPixelsOption(app, _pixels, "the files");
    app.add_flag("--strict", _bStrict, "Equal or missing numbers are failures");
}

image::file::eTiffBufferMode SeriesOptions::getBufferMode() const {
    return parseBufferMode(_pixels);
}

void SeriesOptions::check(OutputOptions const& output) const {
    tellMistakenKeyword(_pattern);
    FileSeries const series = FileSeries::findIn(_directory, _pattern);
    if (series.getEntries().empty()) {
        failWithoutMatch();
    }
    for (FileSeries::Entry const& entry : series.getEntries()) {
        requireFinished(entry.name);
        output.requireApartFrom(fs::path(_directory) / entry.name,
                                "one of the files to read, " + quoted(entry.name));
    }
    tellProblems(series, _bStrict);
    output.requireWritable();
    if (isLaterFound(output.getFile())) {
        printMessage("warning: " + quoted(output.getFile()) +
                     " lies among the files and matches the pattern: a later run would read it");
    }
}

bool SeriesOptions::isLaterFound(fs::path const& outputFile) const {
    fs::path const target = followLinks(outputFile);
    return isSameFile(_directory, target.has_parent_path() ? target.parent_path() : ".") &&
           !FileSeries::select({target.filename().string()}, _pattern).getEntries().empty();
}

void SeriesOptions::requireFinished(std::string const& name) const {
    if (isTemporaryName(name)) {
        throw WorkFailure("cannot read " + quoted((fs::path(_directory) / name).string()) +
                          ": it is an unfinished output of velmo-image, which " + quoted(_pattern) +
                          " matches");
    }
}

void SeriesOptions::failWithoutMatch() const {
    throw WorkFailure(explainNoMatch(_directory, _pattern));
}

} // namespace velmo::tool
