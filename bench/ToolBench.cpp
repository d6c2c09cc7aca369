// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "LowerBound.h"
#include "Suite.h"
#include "TiffSeries.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;

/// Two programs that do the same.
struct Programs {
    Words ours;
    Words other;
};

/// The time of a program. Its output is removed.
double timeWriting(Words const& command, std::string const& output) {
    double const seconds = timeProgram(command);
    fs::remove(output);
    return seconds;
}

/// Compares two programs that write the same pixels to `output`.
Contenders toContenders(Programs const& programs, std::string const& output, Pixels const& expected) {
    for (Words const& command : {programs.ours, programs.other}) {
        runProgram(command);
        requireSamePixels(output, expected);
        fs::remove(output);
    }
    return {[=] { return timeWriting(programs.ours, output); },
            [=] { return timeWriting(programs.other, output); }};
}

std::string getOutput(Suite const& suite) {
    return (suite.getData().getFolder() / "output.tif").string();
}

void addConvert(Suite& suite, std::string const& what, TiffLayout const& layout, std::string const& ours,
                std::string const& tiffcp, Limit const& limit) {
    suite.add("velmo-image convert, " + what + " / tiffcp", Quantity::time(), limit, [=, &suite] {
        TiffLayout cut = layout;
        cut.nbPlanes = suite.cut(layout.nbPlanes);
        TiffFile const file = makeTiff(suite.getData(), cut);
        std::string const output = getOutput(suite);
        Programs const programs = {
            {VELMO_IMAGE_TOOL, "convert", file.path, output, "--compression", ours, "--quiet"},
            {"tiffcp", "-c", tiffcp, file.path, output}};
        return toContenders(programs, output, makePixels(cut));
    });
}

void addStack(Suite& suite) {
    suite.add("velmo-image stack, 500 files of 0.5 MB / tiffcp", Quantity::time(), atMost(1), [&suite] {
        TiffSeriesPtr const pSeries = makeSeries(suite.getData(), 512, suite.cut(500));
        std::string const output = getOutput(suite);
        Programs programs = {
            {VELMO_IMAGE_TOOL, "stack", pSeries->folder.string(), g_seriesPattern, output, "--quiet"},
            {"tiffcp"}};
        programs.other.insert(programs.other.end(), pSeries->files.begin(), pSeries->files.end());
        programs.other.push_back(output);
        return toContenders(programs, output, makePixels(pSeries->layout));
    });
}

void addInfo(Suite& suite, std::string const& name, Words const& options, Limit const& limit) {
    suite.add("velmo-image " + name + ", 20,000 planes of 4 KB / tiffinfo", Quantity::time(), limit,
              [=, &suite] {
                  TiffFile const file = makeTiff(suite.getData(), {64, 64, suite.cut(20000), 1});
                  Words ours = {VELMO_IMAGE_TOOL, "info", file.path};
                  ours.insert(ours.end(), options.begin(), options.end());
                  std::string const size = "Z " + std::to_string(file.layout.nbPlanes) + ',';
                  require(runProgram(ours).find(size) != std::string::npos, "info does not print " + size);
                  return Contenders{[=] { return timeProgram(ours); },
                                    [=] {
                                        return timeProgram({"tiffinfo", file.path});
                                    }};
              });
}

} // namespace

void addToolBenchmarks(Suite& suite) {
    TiffLayout const rgb = {1024, 1024, 100, 1, 3};
    addConvert(suite, "200 planes of 2 MB", {1024, 1024, 200}, "none", "none", atMost(1));
    addConvert(suite, "20,000 planes of 4 KB", {64, 64, 20000, 1}, "none", "none", atMost(1));
    addConvert(suite, "100 RGB planes of 3 MB", rgb, "none", "none", atMost(1));
    Limit const onAll = atMost(1.2 / static_cast<double>(countProcessors()));
    addConvert(suite, "100 RGB planes of 3 MB to LZW", rgb, "lzw", "lzw", onAll);
    addConvert(suite, "100 RGB planes of 3 MB to Deflate", rgb, "deflate", "zip", onAll);
    addStack(suite);
    addInfo(suite, "info", {}, atMost(0.5));
    addInfo(suite, "info --check", {"--check"}, atMost(2));
}

} // namespace velmo::bench
