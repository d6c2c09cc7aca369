// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PreviewCommand.h"

#include "input/InputImage.h"
#include "output/OutputFile.h"
#include "picture/GreyLevels.h"
#include "picture/PictureLayout.h"
#include "picture/PlaneReducer.h"
#include "picture/PngFile.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOBase/AvailableMemory.h>
#include <boost/algorithm/string/case_conv.hpp>
#include <numeric>

namespace velmo::tool {

namespace {

using namespace image;

/// Largest value of --max-size.
constexpr vlUInt64 g_largestMaxSize = 16384;

std::vector<vlUInt64> countUp(vlUInt64 first, vlUInt64 nb) {
    std::vector<vlUInt64> numbers(nb);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

vlUInt64 parseIndex(std::string const& option, std::string const& text, vlUInt64 size) {
    vlUInt64 const index = parseNumber(option, text);
    if (index >= size) {
        throw WrongUse(option + ' ' + text + " is out of range: 0 to " + std::to_string(size - 1));
    }
    return index;
}

/// Channels that are shown together: those of a colour image, of others the first.
vlUInt64 countShownChannels(BaseImageGeometry const& geometry) {
    return geometry.getSizeC() == 3 || geometry.getColorGeometryType() == eCGT_Rgba ? 3 : 1;
}

Picture createPicture(PictureLayout const& layout, vlUInt64 nbChannels) {
    vlUInt64 const nbBytes =
        layout.getWidth() * layout.getHeight() * nbChannels * (sizeof(double) + sizeof(unsigned char));
    vlUInt64 const nbAvailable = getAvailableMemory();
    if (nbBytes > nbAvailable) {
        throw WorkFailure("not enough memory: the picture needs " + std::to_string(nbBytes) + " bytes, " +
                          std::to_string(nbAvailable) + " are available; use a smaller --max-size");
    }
    return Picture(layout.getWidth(), layout.getHeight(), nbChannels);
}

} // namespace

/// The planes of a picture: one after the other along Z, and the channels of each pixel.
struct PreviewCommand::Selection {
    vlUInt64 firstZ;
    vlUInt64 nbZ;
    std::vector<vlUInt64> channels;
    vlUInt64 t;

    Picture compose(BaseImage const& image, PictureLayout const& layout) const {
        Picture picture = createPicture(layout, channels.size());
        for (vlUInt64 index = 0; index < nbZ; ++index) {
            PictureCell cell = {index % layout.columns * layout.cellWidth,
                                index / layout.columns * layout.cellHeight, layout.cellWidth,
                                layout.cellHeight, 0};
            for (vlUInt64 const c : channels) {
                putPlane(image, {firstZ + index, c, t}, cell, picture);
                ++cell.channel;
            }
        }
        return picture;
    }
};

PreviewCommand::PreviewCommand(CommandLine& line)
    : Command(line, "preview", "Write planes of an image as a PNG picture",
              "  velmo-image preview brain.tif planes.png --montage\n"
              "  velmo-image preview brain.raw middle.png --size 181,217,181 --type uint8\n"
              "  velmo-image preview brain.raw planes.png --size 181,217,181 --type uint8 --montage\n"
              "  velmo-image preview heat.raw heat.png --size 640,480 --type real32 --range=-10,40") {
    CommandOptions& options = getOptions();
    options.addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    options.addArgument("OUTPUT", _outputFile, "PNG file to write");
    CommandOption const z = options.addOption("--z", _z, "Plane, from 0 (default: the middle one)");
    options.addOption("--c", _c,
                      "Channel, from 0, shown as grey (default: all of a colour image, else channel 0)");
    options.addOption("--t", _t, "Time step, from 0 (default: 0)");
    options.addFlag("--montage", _bMontage, "All planes along Z in a grid, row by row; not with --z")
        .exclude(z);
    options.addOption("--max-size", _maxSize,
                      "Longest side of the picture in pixels, at most 16384 (default: 1600)");
    options.addOption("--range", _range,
                      "LO,HI: values shown as black and white (default: minimum and maximum)");
    _input.addTo(options);
    options.addFlag("--overwrite", _bOverwrite, "Replace an existing output");
    options.addFlag("--quiet", _bQuiet, "Hide the progress bar");
}

void PreviewCommand::check() const {
    vlUInt64 const maxSize = parseNumber("--max-size", _maxSize);
    if (maxSize == 0 || maxSize > g_largestMaxSize) {
        throw WrongUse("--max-size must be 1 to " + std::to_string(g_largestMaxSize) + ", not " + _maxSize);
    }
    if (!_range.empty()) {
        parseRange("--range", _range);
    }
    requireWritableTarget(_outputFile, _bOverwrite);
    std::string const extension = boost::filesystem::path(_outputFile).extension().string();
    if (!extension.empty() && boost::algorithm::to_lower_copy(extension) != ".png") {
        printMessage("warning: " + quoted(_outputFile) +
                     " is written as a PNG picture despite its extension");
    }
}

PreviewCommand::Selection PreviewCommand::select(BaseImageGeometry const& geometry) const {
    vlUInt64 const sizeZ = geometry.getSizeZ();
    Selection selection = {sizeZ / 2, 1, countUp(0, countShownChannels(geometry)),
                           parseIndex("--t", _t, geometry.getSizeT())};
    if (_bMontage) {
        selection.firstZ = 0;
        selection.nbZ = sizeZ;
    } else if (!_z.empty()) {
        selection.firstZ = parseIndex("--z", _z, sizeZ);
    }
    if (!_c.empty()) {
        selection.channels = {parseIndex("--c", _c, geometry.getSizeC())};
    }
    return selection;
}

void PreviewCommand::writePicture(Picture const& picture, BaseImageGeometry const& geometry) const {
    ValueRange range = {0, 1};
    if (!_range.empty()) {
        range = parseRange("--range", _range);
    } else if (geometry.getBufferType() != eIBT_Binary) {
        range = findRange(picture.values);
    }
    std::vector<unsigned char> const levels =
        toGreyLevels(picture.values, range, geometry.getColorGeometry().minIsBlack());
    writeOutput(_outputFile, _bOverwrite, [&](boost::filesystem::path const& path) {
        writePng(path, picture.width, picture.height, picture.nbChannels, levels);
    });
}

eExitStatus PreviewCommand::run() const {
    InputDescription const description = _input.describe({_inputFile});
    check();
    InputImage const input = openInput(_inputFile, _input.getFormat(_inputFile), description);
    BaseImageGeometry const& geometry = input.pImage->getGeometry();
    if (geometry.getNbPixels() == 0) {
        throw WorkFailure(quoted(_inputFile) + " has no pixels");
    }
    Selection const selection = select(geometry);
    PictureLayout const layout =
        layOut(geometry.getSizeX(), geometry.getSizeY(), selection.nbZ, parseNumber("--max-size", _maxSize));
    Progress progress(selection.nbZ * selection.channels.size() * geometry.getPlanNbPixels(), _bQuiet);
    writePicture(selection.compose(*observe(toSource(input), progress), layout), geometry);
    return eES_Done;
}

} // namespace velmo::tool
