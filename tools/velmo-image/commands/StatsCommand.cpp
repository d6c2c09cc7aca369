// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/StatsCommand.h"

#include "commands/ImportHint.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

namespace velmo::tool {

namespace {

constexpr std::array<Choice<eGrouping>, 4> g_groupings = {{{"file", eGrouping::Image},
                                                           {"plane", eGrouping::Plane},
                                                           {"channel", eGrouping::Channel},
                                                           {"time", eGrouping::Time}}};

/// Largest value of --histogram.
constexpr vlUInt64 g_maxHistogramParts = 65536;

} // namespace

StatsCommand::StatsCommand(CommandLine& line)
    : Command(line, "stats", "Measure the pixels of image files: range, mean, percentiles, histogram",
              "  velmo-image stats brain.tif cells.tif\n"
              "  velmo-image stats film.tif --by time --csv\n"
              "  velmo-image stats brain.tif --percentiles 0.1,50,99.9 --histogram 256 --json\n"
              "  velmo-image stats big.raw --size 512,512,100 --type int16 --byte-order big") {
    CommandOptions& options = getOptions();
    options.addArguments("FILE", _files, "Files to measure");
    options.addOption("--by", _grouping,
                      "file|plane|channel|time: pixels that are measured together (default: those of a "
                      "channel; of an image with one channel the whole file)");
    options.addOption("--percentiles", _percentiles,
                      "P[,P]...: percentiles, each from 0 to 100 (default: 1,5,25,50,75,95,99); exact for "
                      "types of 8 and 16 bits, for others the report has the greatest error");
    options.addOption("--histogram", _nbHistogramParts,
                      "Number of equal parts of the range whose pixels are counted, at most 65536");
    CommandOption const json = options.addFlag("--json", _bJson, "Print a JSON document");
    options.addFlag("--csv", _bCsv, "Print a table of comma-separated values; not with --json").exclude(json);
    _input.addTo(options);
    _work.addTo(options, "threads that read and measure");
}

StatisticsRequest StatsCommand::createRequest() const {
    StatisticsRequest request;
    if (!_grouping.empty()) {
        request.grouping = parseChoice("--by", _grouping, g_groupings);
    }
    request.percents = parsePercents("--percentiles", _percentiles);
    request.nbThreads = _work.getNbThreads();
    if (!_nbHistogramParts.empty()) {
        request.nbHistogramParts = parseNumber("--histogram", _nbHistogramParts);
        if (request.nbHistogramParts == 0 || request.nbHistogramParts > g_maxHistogramParts) {
            throw WrongUse("--histogram must be a number from 1 to " + std::to_string(g_maxHistogramParts) +
                           ", not " + quoted(_nbHistogramParts));
        }
    }
    return request;
}

MeasuredFile StatsCommand::measure(std::string const& file, InputDescription const& description,
                                   StatisticsRequest request) const {
    eFileFormat const format = _input.getFormat(file);
    MeasuredFile measured = {file, getFormatName(format), request.grouping, {}, {}};
    try {
        InputImage const input = openInput(file, format, description);
        image::BaseImageGeometry const& geometry = input.pImage->getGeometry();
        if (_grouping.empty() && geometry.getSizeC() > 1) {
            request.grouping = eGrouping::Channel;
        }
        Progress progress(geometry.getNbPixels(), _work.isQuiet());
        measured.grouping = request.grouping;
        measured.statistics = measureImage(PixelReader(toSource(input), progress), request);
    } catch (BaseException const& failure) {
        measured.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        measured.error = failure.what();
    }
    throwIfInterrupted();
    if (!measured.error.empty()) {
        measured.error += format == eFileFormat::Tiff ? suggestImport(file) : std::string();
        printMessage(measured.error);
    }
    return measured;
}

eExitStatus StatsCommand::run() const {
    StatisticsRequest const request = createRequest();
    InputDescription const description = _input.describe(_files, _work.isQuiet());
    eExitStatus status = eES_Done;
    std::vector<MeasuredFile> measured;
    if (_bCsv) {
        printOutput(getCsvHeader(request));
    }
    for (std::string const& file : _files) {
        MeasuredFile result = measure(file, description, request);
        if (!result.error.empty()) {
            status = eES_Failed;
        } else if (!_bJson) {
            printOutput(_bCsv ? toCsv(result) : toText(result));
        }
        if (_bJson) {
            measured.push_back(std::move(result));
        }
    }
    if (_bJson) {
        printOutput(toJson(measured));
    }
    return status;
}

} // namespace velmo::tool
