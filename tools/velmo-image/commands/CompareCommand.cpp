// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/CompareCommand.h"

#include "commands/ImportHint.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

namespace velmo::tool {

CompareCommand::CompareCommand(CommandLine& line)
    : Command(line, "compare", "Compare the pixels and properties of two image files",
              "  velmo-image compare brain.tif copy.tif\n"
              "  velmo-image compare brain.raw brain.tif --size 181,217,181 --type uint8\n"
              "  velmo-image compare before.tif after.tif --tolerance 0.5 --json\n"
              "  velmo-image compare a.tif b.tif --strict --quiet") {
    CommandOptions& options = getOptions();
    options.addArgument("FIRST", _fileA, "File to compare");
    options.addArgument("SECOND", _fileB, "File to compare with it");
    options.addOption("--tolerance", _tolerance,
                      "Greatest difference of pixels that count as the same (default: 0)");
    options.addFlag("--strict", _bStrict,
                    "Images whose pixel type, colours, axes, calibration or user properties differ are not "
                    "the same");
    options.addFlag("--json", _bJson, "Print a JSON document");
    _input.addTo(options);
    _work.addTo(options, "threads that read and measure");
}

double CompareCommand::getTolerance() const {
    return parseDistance("--tolerance", _tolerance);
}

void CompareCommand::compare(InputDescription const& description, ComparedFiles& files) const {
    InputImage const a = openInput(_fileA, _input.getFormat(_fileA), description);
    InputImage const b = openInput(_fileB, _input.getFormat(_fileB), description);
    files.sizesA = getSizes(*a.pImage);
    files.sizesB = getSizes(*b.pImage);
    files.properties = findPropertyDifferences(*a.pImage, *b.pImage);
    if (files.sizesA == files.sizesB) {
        Progress progress(2 * a.pImage->getGeometry().getNbPixels(), _work.isQuiet());
        files.pixels = compareImages(PixelReader(toSource(a), progress), PixelReader(toSource(b), progress),
                                     files.tolerance, _work.getNbThreads());
    }
    files.bSame = files.pixels && files.pixels->nbDifferent == 0 && !(_bStrict && !files.properties.empty());
}

std::string CompareCommand::suggestImports() const {
    std::string suggestions;
    for (std::string const& file : {_fileA, _fileB}) {
        suggestions += _input.getFormat(file) == eFileFormat::Tiff ? suggestImport(file) : std::string();
    }
    return suggestions;
}

eExitStatus CompareCommand::run() const {
    ComparedFiles files = {_fileA, _fileB, getTolerance(), false, {}, {}, std::nullopt, {}, {}};
    _work.getNbThreads();
    InputDescription const description = _input.describe({_fileA, _fileB}, _work.isQuiet());
    try {
        compare(description, files);
    } catch (BaseException const& failure) {
        files.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        files.error = failure.what();
    }
    if (!files.error.empty()) {
        files.error += suggestImports();
        printMessage(files.error);
    }
    if (_bJson) {
        printOutput(toJson(files));
    } else if (files.error.empty()) {
        printOutput(toText(files));
    }
    return files.bSame ? eES_Done : eES_Failed;
}

} // namespace velmo::tool
