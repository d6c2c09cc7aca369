// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PreviewInput.h"

#include <DisplayTags.h>
#include <VELMOImage/ImageGeometry.h>
#include <numeric>

namespace velmo::tool {

namespace {

using namespace image;

/// The greatest and the least label are labels; the mean of labels and any projection of indexes are not.
void requireMeaning(PlaneDisplay const& display, std::optional<eZProjection> const& projection) {
    bool const bMean = projection == eZProjection::Mean;
    if (display.colouring == eColouring::Palette && projection) {
        throw WrongUse("--projection does not apply to the indexes of a palette; with --range they are shown "
                       "as numbers");
    }
    if (display.colouring == eColouring::Labels && bMean) {
        throw WrongUse("--projection mean does not apply to labels; use max or min");
    }
}

/// Channels that are shown together: those of a colour image, of others the first.
vlUInt64 countShownChannels(BaseImageGeometry const& geometry) {
    return geometry.getSizeC() == 3 || geometry.getColorGeometryType() == eCGT_Rgba ? 3 : 1;
}

/// `number` if it is an index of an axis of this size.
vlUInt64 requireIndex(char const* option, vlUInt64 number, vlUInt64 size) {
    if (number >= size) {
        throw WrongUse(option + (' ' + std::to_string(number)) + " is out of range: 0 to " +
                       std::to_string(size - 1));
    }
    return number;
}

} // namespace

PlaneRun selectRun(BaseImageGeometry const& geometry, PreviewChoice const& choice) {
    PlaneRun run = {0,
                    geometry.getSizeZ(),
                    choice.step,
                    std::vector<vlUInt64>(countShownChannels(geometry)),
                    requireIndex("--t", choice.t.value_or(0), geometry.getSizeT()),
                    choice.projection};
    std::iota(run.channels.begin(), run.channels.end(), vlUInt64{0});
    run.nbZ = run.nbZ / run.step + (run.nbZ % run.step != 0 ? 1 : 0);
    if (choice.z) {
        run.firstZ = requireIndex("--z", *choice.z, geometry.getSizeZ());
        run.nbZ = 1;
    }
    if (choice.c) {
        run.channels = {requireIndex("--c", *choice.c, geometry.getSizeC())};
    }
    return run;
}

PlaneDisplay chooseDisplay(InputImage const& input, PlaneRun const& run, ContrastChoice const& contrast) {
    PlaneDisplay display;
    bool const bLabels = isLabel(input.pImage->getGeometry().getPlanGeometry(run.t).getBufferType());
    if (input.format == eFileFormat::Tiff) {
        importer::DisplayTags const tags =
            importer::readDisplayTags(input.pImage->getAccessor()->getFilePath());
        display.orientation = Orientation(tags.orientation);
        display.palette = tags.palette;
    }
    display.bNames = bLabels || !display.palette.empty();
    if (display.bNames && run.channels.size() == 1 && contrast.kind == eContrast::Percentiles) {
        display.colouring = display.palette.empty() ? eColouring::Labels : eColouring::Palette;
    }
    requireMeaning(display, run.projection);
    return display;
}

ValueRange findShownRange(BaseImageGeometry const& geometry, ContrastChoice const& choice,
                          ValueSample& sample) {
    bool const bBinary = geometry.getBufferType() == eIBT_Binary;
    return bBinary && choice.kind != eContrast::Given ? ValueRange{0, 1} : sample.find(choice);
}

} // namespace velmo::tool
