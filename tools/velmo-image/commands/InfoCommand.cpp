// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/InfoCommand.h"

#include "FileExercise.h"
#include "commands/FileDescription.h"
#include "input/InputImage.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <boost/algorithm/string/join.hpp>
#include <nlohmann/json.hpp>

namespace velmo::tool {

namespace {

std::string toDocument(nlohmann::ordered_json const& files) {
    nlohmann::ordered_json const document = {{"schema", 1}, {"files", files}};
    return document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

/// What cannot be read, a line each; empty where all that was tried can be.
std::string findDamage(std::string const& file, InputImage const& input) {
    ExerciseLimits limits;
    limits.beforePlane = throwIfInterrupted;
    std::vector<std::string> const damage =
        describeDamage(exerciseFile(*input.pImage->getAccessor(), limits));
    return damage.empty() ? std::string() : quoted(file) + ": " + boost::algorithm::join(damage, "\n");
}

} // namespace

InfoCommand::InfoCommand(CLI::App& parent)
    : Command(parent, "info", "Tell what is in image files",
              "  velmo-image info --check brain.tif cells.tif\n"
              "  velmo-image info brain.raw --size 181,217,181 --type uint8\n"
              "  velmo-image info --json --check frames.raw --size 640,480,1,3 --type uint8 --offset 512") {
    getApp().add_option("FILE", _files, "Files to tell of")->required();
    getApp().add_flag("--json", _bJson, "As a JSON document; \"bytes\" counts those of all pixels");
    getApp().add_flag("--check", _bCheck,
                      "Read planes and fail where one cannot be read; warn of what is unusual");
    _input.addTo(getApp());
}

FileDescription InfoCommand::describe(std::string const& file, InputDescription const& input) const {
    eFileFormat const format = _input.getFormat(file);
    FileDescription description = {file, getFormatName(format), nullptr, {}, {}};
    try {
        InputImage const image = openInput(file, format, input);
        description.pImage = image.pImage;
        if (_bCheck) {
            description.warnings = findWarnings(image);
            description.error = findDamage(file, image);
        }
    } catch (BaseException const& failure) {
        description.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        description.error = failure.what();
    }
    if (!description.error.empty()) {
        printMessage(description.error);
    }
    return description;
}

eExitStatus InfoCommand::run() const {
    InputDescription const input = _input.describe(_files);
    eExitStatus status = eES_Done;
    nlohmann::ordered_json entries = nlohmann::ordered_json::array();
    for (std::string const& file : _files) {
        throwIfInterrupted();
        FileDescription const description = describe(file, input);
        status = description.error.empty() ? status : eES_Failed;
        if (_bJson) {
            entries.push_back(toJson(description));
        } else if (description.pImage) {
            printOutput(toText(description));
        }
    }
    if (_bJson) {
        printOutput(toDocument(entries));
    }
    return status;
}

} // namespace velmo::tool
