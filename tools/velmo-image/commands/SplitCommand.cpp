// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/SplitCommand.h"

#include "commands/DroppedWarnings.h"
#include "commands/ImportHint.h"
#include "commands/NumberedNames.h"
#include "input/CutAccessor.h"
#include "input/FileSeries.h"
#include "input/OpenFileLimit.h"
#include "input/StreamedInput.h"
#include "output/OutputFile.h"
#include "output/OutputFolder.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Terminal.h"

#include <boost/filesystem/operations.hpp>
#include <set>

namespace velmo::tool {

namespace {

namespace fs = boost::filesystem;

/// One plane or one time step.
ObservedSource cutStep(ObservedSource const& source, bool bAlongT, vlUInt64 index) {
    Cut cut = getWholeCut(source.pImage->getGeometry());
    (bAlongT ? cut.t : cut.z) = {index, 1, 1, true};
    return cutImage(source, cut);
}

void requireDescriptors(vlUInt64 nbFiles) {
    constexpr vlUInt64 ownDescriptors = 32;
    raiseOpenFileLimit();
    vlUInt64 const limit = getOpenFileLimit();
    if (nbFiles + ownDescriptors > limit) {
        throw WorkFailure("the image has " + std::to_string(nbFiles) +
                          " files, which need one file descriptor each until all are written; the limit is " +
                          std::to_string(limit) + ": raise ulimit -n, or split the image in parts");
    }
}

} // namespace

SplitCommand::SplitCommand(CommandLine& line)
    : Command(line, "split", "Write each plane of an image to a TIFF file of a folder",
              "  velmo-image split volume.tif planes 'z<INDEX>.tif'\n"
              "  velmo-image split film.tif frames 'frame<INDEX>.tif' --along t --digits 5\n"
              "  velmo-image split brain.raw planes 'z<INDEX>.tif' --size 181,217,181 --type uint8\n"
              "  velmo-image split cells.tif cells 'z<INDEX>.tif' --t 0 --c 1 --compression deflate") {
    getOptions().addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    _output.addFolderTo(getOptions());
    getOptions().addArgument("PATTERN", _pattern,
                             "Names of the files, with <INDEX> for the number from 0: a name that stack "
                             "takes as a pattern");
    getOptions().addOption("--along", _along, "z|t: a file for each plane or each time step (default: z)");
    getOptions().addOption("--digits", _digits,
                           "Least number of digits of a number (default: as many as the last number has)");
    _input.addTo(getOptions());
    _edit.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
}

bool SplitCommand::isAlongT() const {
    return parseDirectoryMode("--along", _along) == image::file::eTDM_Temporal;
}

vlUInt64 SplitCommand::parseDigits() const {
    constexpr vlUInt64 mostDigits = 20;
    vlUInt64 const nbDigits = _digits.empty() ? 0 : parseNumber("--digits", _digits);
    if (!_digits.empty() && (nbDigits == 0 || nbDigits > mostDigits)) {
        throw WrongUse("--digits must be a number from 1 to " + std::to_string(mostDigits) + ", not " +
                       quoted(_digits));
    }
    return nbDigits;
}

std::vector<fs::path> SplitCommand::listFiles(vlUInt64 count) const {
    std::vector<fs::path> files;
    for (std::string const& name : NumberedNames(_pattern).list(count, parseDigits())) {
        files.push_back(fs::path(_output.getFile()) / name);
        if (isSameFile(toInputPath(_inputFile), files.back())) {
            throw WorkFailure("cannot write " + quoted(files.back().string()) + ": it is the input");
        }
        requireWritableTarget(files.back(), _output.isOverwriteAllowed());
    }
    return files;
}

void SplitCommand::warnOfOtherFiles(std::vector<fs::path> const& files) const {
    if (!fs::exists(_output.getFile())) {
        return;
    }
    std::set<fs::path> written;
    for (fs::path const& file : files) {
        written.insert(file.filename());
    }
    for (auto const& match : listMatches(findSeries(_output.getFile(), _pattern))) {
        if (written.count(match.path.filename()) == 0) {
            printMessage("warning: " + quoted(_output.getFile()) + " already has " +
                         quoted(match.path.filename().string()) +
                         ", which matches the pattern as well: stack would read it");
            return;
        }
    }
}

void SplitCommand::split(ObservedSource const& source) const {
    image::BaseImageGeometry const& geometry = source.pImage->getGeometry();
    bool const bAlongT = isAlongT();
    if (!bAlongT && geometry.getSizeT() != 1) {
        throw WorkFailure(quoted(_inputFile) + " has " + std::to_string(geometry.getSizeT()) +
                          " time steps: --along t writes a file for each, --t N chooses one");
    }
    vlUInt64 const count = bAlongT ? geometry.getSizeT() : geometry.getSizeZ();
    requireDescriptors(count);
    std::vector<fs::path> const files = listFiles(count);
    warnOfOtherFiles(files);
    OutputFolder folder(_output.getFile());
    _output.saveAll(
        {files, [&](std::size_t index) { return cutStep(source, bAlongT, index); }, geometry.getNbPixels()});
    folder.keep();
}

eExitStatus SplitCommand::run() const {
    _output.requireFit();
    _edit.requireFit();
    NumberedNames(_pattern).list(1, parseDigits());
    isAlongT();
    InputDescription const description = _input.describe({_inputFile}, _output.isQuiet());
    eFileFormat const format = _input.getFormat(_inputFile);
    withImportHint(_inputFile, format, [&] {
        InputImage const input = openInput(_inputFile, format, description);
        warnOfCopy(_inputFile, input, true);
        split(_edit.apply(toSource(input), _inputFile));
        if (std::string const changes = _edit.describeChanges(); !changes.empty()) {
            printWarnings(_output.getFile(), {changes});
        }
    });
    return eES_Done;
}

} // namespace velmo::tool
