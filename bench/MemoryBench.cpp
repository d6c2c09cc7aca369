// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "Suite.h"
#include "TiffSeries.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <map>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;
using namespace image::file;

std::map<std::string, void (*)(Words const&)> const g_works = {
    {"nothing", [](Words const&) {}},
    {"peak", printPeak},
    {"load", [](Words const& words) { loadTiffImageFile(words.at(0)); }},
    {"save",
     [](Words const& words) { saveTiffImageFile(words.at(1), loadTiffImageFile(words.at(0)), {eTC_Lzw}); }},
};

/// A command, its output if it has one, and what its memory is compared with.
struct Process {
    Words command;
    Words base; ///< does nothing; its memory is subtracted
    fs::path output;
    vlUInt64 nbBytes;
};

void add(Suite& suite, std::string const& name, Limit const& limit, std::function<Process()> const& prepare) {
    suite.add("memory, " + name, Quantity::memory(), limit, [prepare] {
        Process const process = prepare();
        auto const measure = [process] {
            double const bytes = measurePeak(process.command) - measurePeak(process.base);
            fs::remove(process.output);
            return std::max(1.0, bytes);
        };
        return Contenders{measure, [process] { return static_cast<double>(process.nbBytes); }};
    });
}

/// What a row does with a TIFF file.
struct Work {
    std::string name;
    TiffLayout layout;
    int compression = COMPRESSION_NONE;
};

TiffFile makeFile(Suite const& suite, Work const& work) {
    TiffLayout layout = work.layout;
    layout.nbPlanes = suite.cut(layout.nbPlanes);
    return makeTiff(suite.getData(), layout, work.compression);
}

/// Works of this library in a process that keeps all pixels.
void addPixels(Suite& suite, std::string const& kind, Work const& work) {
    add(suite, work.name + " / the pixels", atMost(1.05), [=, &suite] {
        TiffFile const file = makeFile(suite, work);
        fs::path const output = suite.getData().getFolder() / "output.tif";
        return Process{toWork(kind, {file.path, output.string()}), toWork("nothing", {}), output,
                       file.layout.getNbBytes()};
    });
}

void addConvert(Suite& suite, std::string const& compression, Work const& work) {
    add(suite, "velmo-image convert, " + work.name + " / one plane", atMost(3), [=, &suite] {
        TiffFile const file = makeFile(suite, work);
        fs::path const output = suite.getData().getFolder() / "output.tif";
        return Process{
            {VELMO_IMAGE_TOOL, "convert", file.path, output.string(), "--compression", compression},
            {VELMO_IMAGE_TOOL, "--version"},
            output,
            file.layout.getPlaneBytes()};
    });
}

void addStack(Suite& suite) {
    add(suite, "velmo-image stack, 500 files of 0.5 MB / one plane", noLimit(), [&suite] {
        TiffSeriesPtr const pSeries = makeSeries(suite.getData(), 512, suite.cut(500));
        fs::path const output = suite.getData().getFolder() / "output.tif";
        return Process{
            {VELMO_IMAGE_TOOL, "stack", pSeries->folder.string(), g_seriesPattern, output.string()},
            {VELMO_IMAGE_TOOL, "--version"},
            output,
            pSeries->layout.getPlaneBytes()};
    });
}

} // namespace

int runWork(std::string const& name, Words const& arguments) {
    g_works.at(name)(arguments);
    return 0;
}

void addMemoryBenchmarks(Suite& suite) {
    TiffLayout const rgb = {1024, 1024, 100, 1, 3};
    addPixels(suite, "load", {"load 200 planes of 2 MB", {1024, 1024, 200}});
    addPixels(suite, "load", {"load 100 RGB planes of 3 MB", rgb});
    addPixels(suite, "load", {"load 50 planes of 2 MB, LZW", {1024, 1024, 50}, COMPRESSION_LZW});
    addPixels(suite, "save", {"load 200 planes of 2 MB and save as LZW", {1024, 1024, 200}});
    addPixels(suite, "save", {"load 100 RGB planes of 3 MB and save as LZW", rgb});
    addConvert(suite, "none", {"200 planes of 2 MB", {1024, 1024, 200}});
    addConvert(suite, "lzw", {"100 RGB planes of 3 MB to LZW", rgb});
    addStack(suite);
}

} // namespace velmo::bench
