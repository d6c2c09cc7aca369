// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ResampleCommand.h"

#include "input/InputImage.h"
#include "input/OpenFileLimit.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::tool {

namespace {

using namespace imaproc::attr;

constexpr std::array<Choice<eInterpolationPolicy>, 3> g_interpolations = {
    {{"nearest", eIP_Nearest}, {"linear", eIP_Linear}, {"cubic", eIP_Cubic}}};

} // namespace

ResampleCommand::ResampleCommand(CLI::App& parent)
    : Command(parent, "resample", "Join TIFF files whose planes lie at uneven heights into an even volume",
              "  velmo-image resample scans 'img<INDEX>.tif' steps.txt volume.tif --size-z 200\n"
              "  velmo-image resample scans 'img<INDEX>.tif' steps.xml volume.tif --size-z 200 "
              "--interpolation cubic\n"
              "  velmo-image resample masks 'm<INDEX>.tif' steps.txt masks.raw --size-z 90 --pixels label "
              "--strict") {
    _series.addTo(getApp());
    getApp()
        .add_option(
            "ZSTEPS", _zStepsFile,
            "Steps between neighbouring planes, one fewer than planes: a text of one number a line, or "
            "an archive with the extension .xml")
        ->required();
    _output.addTo(getApp());
    getApp().add_option("--size-z", _sizeZ, "Planes of the output")->required();
    getApp().add_option("--interpolation", _interpolation, "nearest|linear|cubic: between planes (linear)");
}

vlUInt64 ResampleCommand::getSizeZ() const {
    vlUInt64 const sizeZ = parseNumber("--size-z", _sizeZ);
    if (sizeZ == 0) {
        throw WrongUse("--size-z takes a whole number from 1 on; not \"" + _sizeZ + '"');
    }
    return sizeZ;
}

eInterpolationPolicy ResampleCommand::getInterpolation() const {
    return parseChoice("--interpolation", _interpolation, g_interpolations);
}

image::ImagePtr ResampleCommand::load() const {
    raiseOpenFileLimit();
    PromptInterrupts const prompt;
    try {
        image::file::TiffReadOptions options;
        options.pixels = _series.getBufferMode();
        return image::file::loadCustomZStackImageFiles(_series.getDirectory(), _zStepsFile, getSizeZ(),
                                                       getInterpolation(), _series.getPattern(), options);
    } catch (processor::VELMOBaseProcessingException const& failure) {
        std::string const text = getFullText(failure);
        // A run that failed is told as a first line on the processor, and the reason behind it.
        throw WorkFailure(text.substr(text.find('\n') + 1));
    }
}

eExitStatus ResampleCommand::run() const {
    _output.requireFit();
    _series.getBufferMode();
    getSizeZ();
    getInterpolation();
    _output.requireApartFrom(_zStepsFile, "the file of z-steps");
    _series.check(_output);
    image::ImagePtr const pImage = load();
    if (!pImage) {
        _series.failWithoutMatch(); // they have gone meanwhile
    }
    printWarnings(_series.getDirectory(), findNegativeWarnings(*pImage));
    _output.save({pImage, false, false});
    return eES_Done;
}

} // namespace velmo::tool
