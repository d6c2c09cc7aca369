// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ImportCommand.h"

#include "commands/ImportReportText.h"
#include "input/InputFile.h"
#include "input/OpenFileLimit.h"
#include "output/StreamedOutput.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

constexpr std::array<Choice<bool>, 2> g_palettes = {{{"index", false}, {"rgb", true}}};

importer::PageRange parsePages(std::string const& text) {
    std::size_t const colon = text.find(':');
    importer::PageRange range = {};
    range.first = parseNumber("--page", text.substr(0, colon));
    range.last = colon == std::string::npos ? range.first : parseNumber("--page", text.substr(colon + 1));
    if (range.first > range.last) {
        throw WrongUse("--page must be A:B with A not above B, such as 0:9, not " + quoted(text));
    }
    return range;
}

[[noreturn]] void refuseAxes(std::string const& text) {
    throw WrongUse("--axes must be letters of z, c and t, the fastest axis first, and their sizes, such as "
                   "czt=2,5,3; one size may be left out at the end; not " +
                   quoted(text));
}

std::vector<importer::PageAxis> parseAxes(std::string const& text) {
    std::size_t const equals = text.find('=');
    std::string const letters = text.substr(0, equals);
    std::vector<importer::PageAxis> axes;
    for (char const letter : letters) {
        bool const bKnown = letter == 'z' || letter == 'c' || letter == 't';
        if (!bKnown || letters.find(letter) != letters.rfind(letter)) {
            refuseAxes(text);
        }
        axes.push_back({letter, std::nullopt});
    }
    std::istringstream sizes(equals == std::string::npos ? std::string() : text.substr(equals + 1));
    std::size_t nbSizes = 0;
    for (std::string size; std::getline(sizes, size, ',') && nbSizes < axes.size() + 1; ++nbSizes) {
        vlUInt64 const number = parseNumber("--axes", size);
        if (nbSizes == axes.size() || number == 0) {
            refuseAxes(text);
        }
        axes[nbSizes].size = number;
    }
    if (axes.empty() || nbSizes + 1 < axes.size()) {
        refuseAxes(text);
    }
    return axes;
}

/// Whether text on the standard output could get into the output: it is a device or a pipe.
bool isStream(std::string const& file) {
    if (isStandardOutput(file)) {
        return true;
    }
    boost::system::error_code error;
    boost::filesystem::file_status const status = boost::filesystem::status(file, error);
    return boost::filesystem::exists(status) && !boost::filesystem::is_regular_file(status);
}

} // namespace

ImportCommand::ImportCommand(CommandLine& line)
    : Command(line, "import", "Convert a TIFF file of any kind to one that the library reads",
              "  velmo-image import cells.ome.tif cells.tif\n"
              "  velmo-image import slide.svs slide.tif --series 0 --compression deflate\n"
              "  velmo-image import pages.tif film.tif --axes ct=2\n"
              "  velmo-image import map.tif map-colours.tif --palette rgb\n"
              "  velmo-image import height.tif height32.tif --lossy --json") {
    getOptions().addArgument("INPUT", _inputFile, "TIFF file to read");
    _output.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
    getOptions().addOption("--series", _series,
                           "Number of the series to import, from 0, if the pages of the file are of several "
                           "sizes or types");
    getOptions().addOption("--page", _pages,
                           "A:B: import the directories A to B, from 0, as planes along Z; descriptions of "
                           "axes are ignored");
    getOptions().addOption(
        "--axes", _axes,
        "ORDER=SIZES: the axes of the pages, letters of z, c and t with the fastest first, "
        "and their sizes, such as czt=2,5,3; one size may be left out at the end "
        "(default: as the file describes them, otherwise along Z)");
    getOptions().addOption("--palette", _palette,
                           "index|rgb: the pixels of a palette are its indexes (default) or its colours");
    getOptions().addFlag("--to-rgb", _bToRgb, "Convert CMYK, Lab and LogLuv to RGB of 8 bits");
    getOptions().addFlag("--min-is-black", _bMinIsBlack, "Turn the values of a file whose minimum is white");
    getOptions().addFlag("--lossy", _bLossy,
                         "Round 64-bit floating point to 32 bits; the greatest error is reported");
    getOptions().addFlag("--json", _bJson, "Print the report as a JSON document");
}

importer::ImportOptions ImportCommand::parseOptions() const {
    importer::ImportOptions options;
    processor::ProcessorDispatchPolicy const threads = _output.getThreads();
    options.nbThreads = threads.isDefault() ? 0 : threads.getNbThreads();
    options.bPaletteToRgb = parseChoice("--palette", _palette, g_palettes);
    options.bLossy = _bLossy;
    options.bMinIsBlack = _bMinIsBlack;
    options.bToRgb = _bToRgb;
    if (!_series.empty()) {
        options.series = parseNumber("--series", _series);
    }
    if (!_pages.empty()) {
        options.pages = parsePages(_pages);
    }
    if (!_axes.empty()) {
        options.axes = parseAxes(_axes);
    }
    options.isStopped = isInterruptRequested;
    return options;
}

void ImportCommand::report(importer::ImportedTiff const& imported,
                           std::vector<importer::OutputPart> const& parts) const {
    ImportSummary const summary = {_inputFile, imported.getImage(), parts, imported.getChanges(), {}, {}};
    std::string const text = _bJson ? toJson(summary) : toText(summary);
    if (isStream(_output.getFile())) {
        printMessage(text.substr(0, text.size() - 1));
    } else {
        printOutput(text);
    }
}

void ImportCommand::importFile(importer::ImportOptions const& options) const {
    importer::ImportedTiff const imported = [&] {
        PromptInterrupts const prompt; // a file may have a million directories
        return importer::ImportedTiff(_inputFile, options);
    }();
    image::BaseImageGeometry const& geometry = imported.getImage()->getGeometry();
    std::vector<importer::OutputPart> const parts =
        _output.isTiff() ? importer::divideOutput(_output.getFile(), geometry)
                         : std::vector<importer::OutputPart>{{_output.getFile(), {}}};
    std::vector<OutputImage> images;
    for (importer::OutputPart const& part : parts) {
        bool const bWhole = parts.size() == 1;
        image::DiskImagePtr const pImage = bWhole ? imported.getImage() : imported.extract(part.part);
        if (pImage->isStoredIn(part.path)) {
            throw WorkFailure("cannot write " + quoted(part.path.string()) + ": it is the input");
        }
        images.push_back({part.path, {pImage, false, false}});
    }
    _output.saveAll(images);
    report(imported, parts);
}

eExitStatus ImportCommand::run() const {
    _output.requireFit();
    importer::ImportOptions const options = parseOptions();
    requireReadable(_inputFile);
    _output.requireApartFrom(_inputFile, "the input");
    _output.requireWritable();
    raiseOpenFileLimit();
    ImportSummary failed = {_inputFile, nullptr, {}, {}, {}, {}};
    try {
        importFile(options);
        return eES_Done;
    } catch (importer::ImportException const& failure) {
        std::string const hint = failure.getOption().empty() || !failure.getSeries().empty()
                                     ? std::string()
                                     : "; " + failure.getOption() + " imports it";
        failed.error = "cannot import " + quoted(_inputFile) + ": " + failure.what() + hint +
                       importer::describeSeries(failure.getSeries());
        failed.series = failure.getSeries();
    } catch (BaseException const& failure) {
        failed.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        failed.error = failure.what();
    }
    throwIfInterrupted();
    if (_bJson) {
        printOutput(toJson(failed));
    }
    printMessage(failed.error);
    return eES_Failed;
}

} // namespace velmo::tool
