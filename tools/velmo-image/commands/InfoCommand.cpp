// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/InfoCommand.h"

#include "FileExercise.h"
#include "commands/FileDescription.h"
#include "commands/ImportHint.h"
#include "input/InputWarnings.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <boost/algorithm/string/join.hpp>

namespace velmo::tool {

namespace {

/// What cannot be read, one line each; empty where every tried plane can be read.
std::string findDamage(std::string const& file, InputImage const& input) {
    ExerciseLimits limits;
    limits.beforePlane = throwIfInterrupted;
    std::vector<std::string> const damage =
        describeDamage(exerciseFile(*input.pImage->getAccessor(), limits));
    return damage.empty() ? std::string() : quoted(file) + ": " + boost::algorithm::join(damage, "\n");
}

} // namespace

InfoCommand::InfoCommand(CommandLine& line)
    : Command(line, "info", "Show what image files contain",
              "  velmo-image info --check brain.tif cells.tif\n"
              "  velmo-image info brain.raw --size 181,217,181 --type uint8\n"
              "  velmo-image info --json --check frames.raw --size 640,480,1,3 --type uint8 --offset 512") {
    getOptions().addArguments("FILE", _files, "Files to describe");
    getOptions().addFlag("--json", _bJson, "Print a JSON document");
    getOptions().addFlag(
        "--check", _bCheck,
        "Read the first and the last planes, fail if one cannot be read, and warn about unusual properties");
    _input.addTo(getOptions());
}

FileDescription InfoCommand::describe(std::string const& file, InputDescription const& input) const {
    eFileFormat const format = _input.getFormat(file);
    FileDescription description = {file, getFormatName(format), nullptr, {}, {}};
    try {
        InputImage const image = openInput(file, format, input);
        description.pImage = image.pImage;
        description.warnings = _bCheck ? findWarnings(image) : findTileWarnings(image);
        if (!_bCheck && !description.warnings.empty()) {
            description.warnings.front() += suggestImport(file, "; to import it: ");
        }
        if (format == eFileFormat::Tiff) {
            std::vector<std::string> const flattened = findFlattenedWarnings(file);
            description.warnings.insert(description.warnings.end(), flattened.begin(), flattened.end());
        }
        if (_bCheck) {
            description.error = findDamage(file, image);
        }
    } catch (BaseException const& failure) {
        description.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        description.error = failure.what();
    }
    if (!description.error.empty()) {
        description.error += format == eFileFormat::Tiff ? suggestImport(file) : std::string();
        printMessage(description.error);
    }
    return description;
}

eExitStatus InfoCommand::run() const {
    InputDescription const input = _input.describe(_files);
    eExitStatus status = eES_Done;
    std::vector<FileDescription> descriptions;
    for (std::string const& file : _files) {
        throwIfInterrupted();
        FileDescription const description = describe(file, input);
        status = description.error.empty() ? status : eES_Failed;
        if (_bJson) {
            descriptions.push_back(description);
        } else if (description.pImage) {
            printOutput(toText(description));
        }
    }
    if (_bJson) {
        printOutput(toJson(descriptions));
    }
    return status;
}

} // namespace velmo::tool
