// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/StackCommand.h"

#include "input/InputWarnings.h"
#include "input/OpenFileLimit.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::tool {

StackCommand::StackCommand(CommandLine& line)
    : Command(line, "stack", "Join the TIFF files of a directory into one image",
              "  velmo-image stack scans 'img<INDEX>.tif' volume.tif\n"
              "  velmo-image stack scans 'img<INDEX>.tif' volume.tif --strict --compression deflate\n"
              "  velmo-image stack frames 't<INDEX>.tif|t<INDEX>.tiff' film.tif --along t\n"
              "  velmo-image stack masks '*.tif' masks.raw --pixels binary") {
    _series.addTo(getOptions());
    getOptions().addOption("--along", _along, "z|t: the axis along which the files are joined (default: z)");
    _output.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
}

image::ImagePtr StackCommand::open(image::file::eTiffDirectoryMode directoryMode) const {
    image::file::TiffReadOptions options;
    options.directories = directoryMode;
    options.pixels = _series.getBufferMode();
    raiseOpenFileLimit();
    PromptInterrupts const prompt;
    return image::file::openTiffImageFiles(_series.getDirectory(), _series.getPattern(), options);
}

eExitStatus StackCommand::run() const {
    _output.requireFit();
    _series.getBufferMode();
    image::file::eTiffDirectoryMode const directoryMode = parseDirectoryMode("--along", _along);
    _series.check(_output);
    std::string text;
    try {
        stack(directoryMode);
        return eES_Done;
    } catch (BaseException const& failure) {
        text = getFullText(failure);
    } catch (WorkFailure const& failure) {
        text = failure.what();
    }
    throw WorkFailure(text + _series.suggestImport(text));
}

void StackCommand::stack(image::file::eTiffDirectoryMode directoryMode) const {
    image::ImagePtr const pImage = open(directoryMode);
    if (!pImage) {
        _series.failWithoutMatch(); // removed since the check
    }
    printWarnings(_series.getDirectory(), findNegativeWarnings(*pImage));
    _series.warnOfDroppedParts(_output);
    _output.save({pImage, false, true});
}

} // namespace velmo::tool
