// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PreviewCommand.h"

#include "commands/ImportHint.h"
#include "commands/PreviewPage.h"
#include "input/StreamedInput.h"
#include "output/OutputFile.h"
#include "output/StreamedOutput.h"
#include "picture/PngFile.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOImage/ImageGeometry.h>
#include <boost/algorithm/string/case_conv.hpp>

namespace velmo::tool {

namespace {

using namespace image;

/// Largest value of --max-size.
constexpr vlUInt64 g_largestMaxSize = 16384;
constexpr vlUInt64 g_pictureSize = 1600;
constexpr vlUInt64 g_pageSize = 512;
constexpr vlUInt64 g_pageBytes = vlUInt64{20} << 20;

constexpr std::array<Choice<eZProjection>, 3> g_zProjections = {
    {{"max", eZProjection::Max}, {"min", eZProjection::Min}, {"mean", eZProjection::Mean}}};

std::optional<vlUInt64> parseGiven(char const* option, std::string const& text) {
    return text.empty() ? std::nullopt : std::optional(parseNumber(option, text));
}

/// A number from 1, or `otherwise` if the option is not given.
vlUInt64 parseCount(char const* option, std::string const& text, vlUInt64 otherwise) {
    vlUInt64 const number = parseGiven(option, text).value_or(otherwise);
    if (number == 0 && !text.empty()) {
        throw WrongUse(std::string(option) + " must be at least 1, not " + quoted(text));
    }
    return number;
}

vlUInt64 parseMaxSize(std::string const& text, vlUInt64 otherwise) {
    vlUInt64 const maxSize = parseGiven("--max-size", text).value_or(otherwise);
    if (maxSize == 0 || maxSize > g_largestMaxSize) {
        throw WrongUse("--max-size must be 1 to " + std::to_string(g_largestMaxSize) + ", not " + text);
    }
    return maxSize;
}

std::string getLowerExtension(std::string const& file) {
    return boost::algorithm::to_lower_copy(boost::filesystem::path(file).extension().string());
}

void refuseIf(bool bWrong, char const* text) {
    if (bWrong) {
        throw WrongUse(text);
    }
}

} // namespace

PreviewCommand::PreviewCommand(CommandLine& line)
    : Command(line, "preview", "Write planes of an image as a PNG picture or as an HTML page",
              "  velmo-image preview brain.tif planes.png --montage --step 5\n"
              "  velmo-image preview brain.tif brain.html\n"
              "  velmo-image preview brain.raw middle.png --size 181,217,181 --type uint8\n"
              "  velmo-image preview brain.raw brightest.png --size 181,217,181 --type uint8 "
              "--projection max\n"
              "  velmo-image preview heat.raw heat.png --size 640,480 --type real32 --range=-10,40") {
    addOptions();
}

CommandOption PreviewCommand::addValue(std::string const& name, std::string& value,
                                       std::string const& description) {
    CommandOption const option = getOptions().addOption(name, value, description);
    _values.emplace_back(option, &value);
    return option;
}

void PreviewCommand::addOptions() {
    CommandOptions& options = getOptions();
    options.addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    options.addArgument("OUTPUT", _outputFile,
                        "File to write: a page if its extension is .html or .htm, otherwise a PNG picture");
    CommandOption const z = addValue("--z", _z, "Plane, from 0 (default: the middle one; all in a page)");
    addValue("--c", _c,
             "Channel, from 0, shown as grey (default: all of a colour image, else channel 0; all "
             "in a page)");
    addValue("--t", _t, "Time step, from 0 (default: 0; all in a page)");
    CommandOption const montage = options.addFlag(
        "--montage", _bMontage, "All planes along Z in a grid with their numbers, row by row; not with --z");
    CommandOption const projection =
        addValue("--projection", _projection,
                 "max|min|mean: of the values of all planes along Z, in one picture; not with --z or "
                 "--montage");
    montage.exclude(z);
    projection.exclude(z);
    projection.exclude(montage);
    addValue("--columns", _columns, "Columns of the montage (default: about as many as rows)");
    addValue("--step", _step, "Take every N-th plane along Z into montage, projection or page").exclude(z);
    addValue("--max-size", _maxSize,
             "Longest side of a picture in pixels, at most 16384 (default: 1600; 512 in a page)");
    addValue("--max-bytes", _maxBytes,
             "Largest size of a page, in bytes or with K, M or G; fewer planes are shown if "
             "necessary (default: 20M)");
    addValue("--range", _range,
             "LO,HI or min,max: values shown as black and white (default: all but the 0.1 % least "
             "and greatest); labels and palettes are shown as numbers");
    _input.addTo(options);
    options.addFlag("--overwrite", _bOverwrite, "Replace an existing output");
    options.addFlag("--quiet", _bQuiet, "Hide the progress bar");
}

bool PreviewCommand::isPage() const {
    std::string const extension = getLowerExtension(_outputFile);
    return extension == ".html" || extension == ".htm";
}

PreviewChoice PreviewCommand::readChoice() const {
    std::optional<eZProjection> projection;
    if (!_projection.empty()) {
        projection = parseChoice("--projection", _projection, g_zProjections);
    }
    return {parseGiven("--z", _z),
            parseGiven("--c", _c),
            parseGiven("--t", _t),
            parseCount("--step", _step, 1),
            projection,
            parseContrast("--range", _range),
            parseMaxSize(_maxSize, isPage() ? g_pageSize : g_pictureSize)};
}

void PreviewCommand::check() const {
    for (auto const& [option, pValue] : _values) {
        if (option.isGiven() && pValue->empty()) {
            throw WrongUse(option.getName() + " needs a value");
        }
    }
    parseCount("--columns", _columns, 1);
    if (!_maxBytes.empty()) {
        parseBytes("--max-bytes", _maxBytes);
    }
    refuseIf(!_columns.empty() && !_bMontage, "--columns applies only to --montage");
    if (isPage()) {
        refuseIf(_bMontage, "--montage does not apply to a page, which shows all planes");
    } else {
        refuseIf(!_maxBytes.empty(), "--max-bytes applies only to pages, with the extension .html");
        refuseIf(!_step.empty() && !_bMontage && _projection.empty(),
                 "--step applies only to --montage, --projection and pages");
    }
    if (isSameFile(toInputPath(_inputFile), _outputFile)) {
        throw WorkFailure("cannot write " + quoted(_outputFile) + ": it is the input");
    }
    refuseIf(isStandardOutput(_outputFile),
             "preview does not write to standard output; give the name of a file");
    requireWritableTarget(_outputFile, _bOverwrite);
    std::string const extension = getLowerExtension(_outputFile);
    if (!isPage() && !extension.empty() && extension != ".png") {
        printMessage("warning: " + quoted(_outputFile) +
                     " is written as a PNG picture despite its extension");
    }
}

/// The planes of a picture: without a montage or a projection the middle one.
PlaneRun PreviewCommand::select(BaseImageGeometry const& geometry, PreviewChoice const& choice) const {
    PreviewChoice chosen = choice;
    if (!choice.z && !_bMontage && !choice.projection) {
        chosen.z = geometry.getSizeZ() / 2;
    }
    return selectRun(geometry, chosen);
}

void PreviewCommand::writePicture(InputImage const& input, PreviewChoice const& choice) const {
    BaseImageGeometry const& geometry = input.pImage->getGeometry();
    PlaneRun const run = select(geometry, choice);
    PlaneDisplay const display = chooseDisplay(input, run, choice.contrast);
    PictureLayout const layout =
        layOutRun(geometry, display, run, parseCount("--columns", _columns, 0), choice.maxSize);
    Progress progress(run.nbZ * run.channels.size() * geometry.getPlanNbPixels(), _bQuiet);
    Picture const picture = composePicture(*observe(toSource(input), progress), display, run, layout);
    ValueSample sample(picture.values.size());
    sample.add(picture.values);
    Bitmap bitmap = toBitmap(picture, display, findShownRange(geometry, choice.contrast, sample),
                             geometry.getColorGeometry().minIsBlack());
    if (_bMontage) {
        numberCells(run, layout, bitmap);
    }
    writeOutput(_outputFile, _bOverwrite,
                [&](boost::filesystem::path const& path) { writePng(path, bitmap); });
}

void PreviewCommand::writePage(InputImage const& input, PreviewChoice const& choice) const {
    vlUInt64 const maxBytes = _maxBytes.empty() ? g_pageBytes : parseBytes("--max-bytes", _maxBytes);
    writePreviewPage(input, choice, {_inputFile, _outputFile, maxBytes, _bOverwrite, _bQuiet});
}

eExitStatus PreviewCommand::run() const {
    InputDescription const description = _input.describe({_inputFile}, _bQuiet);
    PreviewChoice const choice = readChoice();
    check();
    eFileFormat const format = _input.getFormat(_inputFile);
    withImportHint(_inputFile, format, [&] {
        InputImage const input = openInput(_inputFile, format, description);
        if (input.pImage->getGeometry().getNbPixels() == 0) {
            throw WorkFailure(quoted(_inputFile) + " has no pixels");
        }
        isPage() ? writePage(input, choice) : writePicture(input, choice);
    });
    return eES_Done;
}

} // namespace velmo::tool
