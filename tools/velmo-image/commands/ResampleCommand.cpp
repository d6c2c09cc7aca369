// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ResampleCommand.h"

#include "input/InputWarnings.h"
#include "input/OpenFileLimit.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>

namespace velmo::tool {

namespace {

using namespace imaproc::attr;

constexpr std::array<Choice<eInterpolationPolicy>, 3> g_interpolations = {
    {{"nearest", eIP_Nearest}, {"linear", eIP_Linear}, {"cubic", eIP_Cubic}}};

/// About as many as the planes of the result need: each plane of the input once, or fewer if there are fewer
/// planes in the result.
vlUInt64 countReadPixels(image::BaseImageGeometry const& geometry, vlUInt64 sizeZ,
                         eInterpolationPolicy interpolation) {
    vlUInt64 const nbForPlane = interpolation == eIP_Nearest ? 1 : interpolation == eIP_Linear ? 2 : 4;
    vlUInt64 const nbPlanes =
        std::min(geometry.getSizeZ(), sizeZ <= geometry.getSizeZ() ? nbForPlane * sizeZ : sizeZ);
    return nbPlanes * geometry.getSizeC() * geometry.getSizeT() * geometry.getPlanNbPixels();
}

} // namespace

ResampleCommand::ResampleCommand(CommandLine& line)
    : Command(line, "resample", "Join TIFF files with unevenly spaced planes into an evenly spaced volume",
              "  velmo-image resample scans 'img<INDEX>.tif' steps.txt volume.tif --size-z 200\n"
              "  velmo-image resample scans 'img<INDEX>.tif' steps.xml volume.tif --size-z 200 "
              "--interpolation cubic\n"
              "  velmo-image resample masks 'm<INDEX>.tif' steps.txt masks.raw --size-z 90 --pixels label "
              "--strict") {
    _series.addTo(getOptions());
    getOptions().addArgument(
        "ZSTEPS", _zStepsFile,
        "Distances between neighbouring planes, one fewer than there are planes: a text with one "
        "number per line, or an archive with the extension .xml");
    _output.addTo(getOptions());
    _output.allowThreadsForRaw();
    getOptions().addRequiredOption("--size-z", _sizeZ, "Number of planes of the output");
    getOptions().addOption("--interpolation", _interpolation,
                           "nearest|linear|cubic: interpolation between planes (default: linear)");
}

vlUInt64 ResampleCommand::getSizeZ() const {
    vlUInt64 const sizeZ = parseNumber("--size-z", _sizeZ);
    if (sizeZ == 0) {
        throw WrongUse("--size-z must be at least 1, not " + quoted(_sizeZ));
    }
    return sizeZ;
}

eInterpolationPolicy ResampleCommand::getInterpolation() const {
    return parseChoice("--interpolation", _interpolation, g_interpolations);
}

image::ImagePtr ResampleCommand::load() const {
    raiseOpenFileLimit();
    PromptInterrupts const prompt;
    image::file::TiffReadOptions options;
    options.pixels = _series.getBufferMode();
    image::ImagePtr const pStack =
        image::file::openTiffImageFiles(_series.getDirectory(), _series.getPattern(), options);
    if (!pStack) {
        return {};
    }
    Progress progress(countReadPixels(pStack->getGeometry(), getSizeZ(), getInterpolation()),
                      _output.isQuiet());
    try {
        return image::file::resampleCustomZStack(observe({pStack, false, true}, progress), _zStepsFile,
                                                 getSizeZ(), getInterpolation(), _output.getThreads());
    } catch (processor::VELMOBaseProcessingException const& failure) {
        std::string const text = getFullText(failure);
        // The first line names the processor that failed, the reason follows.
        throw WorkFailure(text.substr(text.find('\n') + 1));
    }
}

eExitStatus ResampleCommand::run() const {
    _output.requireFit();
    _series.getBufferMode();
    getSizeZ();
    getInterpolation();
    _output.requireApartFrom(_zStepsFile, "the z-steps file");
    _series.check(_output);
    image::ImagePtr const pImage = load();
    if (!pImage) {
        _series.failWithoutMatch(); // removed since the check
    }
    printWarnings(_series.getDirectory(), findNegativeWarnings(*pImage));
    _series.warnOfDroppedParts(_output);
    _output.save({pImage, false, false});
    return eES_Done;
}

} // namespace velmo::tool
