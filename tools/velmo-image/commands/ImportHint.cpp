// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ImportHint.h"

#include "input/StreamedInput.h"
#include "terminal/Interrupt.h"
#include "terminal/ShellWord.h"

#include <ImportTiff.h>

namespace velmo::tool {

namespace {

/// A name that begins with a dash gets its folder, since it would be read as an option.
std::string toFileWord(boost::filesystem::path const& file) {
    std::string const& name = file.string();
    return toShellWord(name.empty() || name.front() != '-' ? name : "./" + name);
}

} // namespace

std::string getImportLine(boost::filesystem::path const& file, std::string const& options) {
    if (isStandardInput(file)) {
        return "velmo-image import FILE imported.tif" + options;
    }
    boost::filesystem::path output = file.parent_path() / file.stem();
    output += "-imported.tif";
    return "velmo-image import " + toFileWord(file) + ' ' + toFileWord(output) + options;
}

std::string suggestImport(boost::filesystem::path const& file, std::string const& separator) {
    if (isStreamedInput(file)) {
        return {}; // a pipe is not a TIFF file, and its bytes are read only once
    }
    PromptInterrupts const prompt; // a file may have a million directories
    boost::filesystem::path const path = toInputPath(file);
    auto const options = importer::needsImport(path) ? importer::findImportOptions(path) : std::nullopt;
    return options ? separator + getImportLine(file, *options) : std::string();
}

std::vector<std::string> findFlattenedWarnings(boost::filesystem::path const& file) {
    PromptInterrupts const prompt;
    auto const axes = importer::findFlattenedAxes(toInputPath(file));
    if (!axes) {
        return {};
    }
    return {"the file describes the axes " + *axes +
            ", its planes are read along one axis; to keep the axes: " + getImportLine(file, "")};
}

} // namespace velmo::tool
