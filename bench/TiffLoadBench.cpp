// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <cstring>

namespace velmo::bench {

namespace {

using namespace image::file;

constexpr vlUInt64 g_default = 0; ///< the threads of a call without options

TiffReadOptions onThreads(vlUInt64 nbThreads) {
    TiffReadOptions options;
    if (nbThreads != g_default) {
        options.threads = useThreads(nbThreads);
    }
    return options;
}

double timeLoad(TiffFile const& file, TiffReadOptions const& options) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = loadTiffImageFile(file.path, options);
    return stopwatch.getSeconds();
}

double timeDistributedLoad(TiffFile const& file) {
    Stopwatch const stopwatch;
    auto const pImage = loadDistributedTiffImageFile(file.path);
    return stopwatch.getSeconds();
}

/// The work of a row: a file, and the threads of the load.
struct Load {
    char const* name;
    TiffLayout layout;
    int compression = COMPRESSION_NONE;
    vlUInt64 nbThreads = g_default;
};

TiffFile makeChecked(Suite const& suite, Load const& load) {
    TiffLayout layout = load.layout;
    layout.nbPlanes = suite.cut(layout.nbPlanes);
    TiffFile const file = makeTiff(suite.getData(), layout, load.compression);
    file.requireSamePixels(*loadTiffImageFile(file.path, onThreads(load.nbThreads)));
    return file;
}

void addBesideLibtiff(Suite& suite, Load const& load, Limit const& limit) {
    suite.add("TIFF load " + std::string(load.name) + " / libtiff loop", Quantity::time(), limit,
              [=, &suite] {
                  TiffFile const file = makeChecked(suite, load);
                  return Contenders{[=] { return timeLoad(file, onThreads(load.nbThreads)); },
                                    [=] { return timeLibtiffLoad(file.path, file.layout.getNbBytes()); }};
              });
}

double timeChannels(TiffFile const& file) {
    Stopwatch const stopwatch;
    FreshMemory const channels(file.layout.getNbBytes());
    readChannelsByLibtiff(file.path, file.layout, channels.getData());
    return stopwatch.getSeconds();
}

/// A loop that also separates the channels, as the library does.
void addBesideChannels(Suite& suite, Load const& load, Limit const& limit) {
    suite.add("TIFF load " + std::string(load.name) + " / libtiff loop, channels separated", Quantity::time(),
              limit, [=, &suite] {
                  TiffFile const file = makeChecked(suite, load);
                  Pixels channels(file.layout.getNbBytes());
                  readChannelsByLibtiff(file.path, file.layout, channels.data());
                  image::ImageConstPtr const pImage = loadTiffImageFile(file.path);
                  require(std::memcmp(channels.data(), pImage->accessPlan(0, 0, 0), channels.size()) == 0,
                          "The loop reads other pixels");
                  return Contenders{[=] { return timeLoad(file, {}); }, [=] { return timeChannels(file); }};
              });
}

/// Uncompressed planes: a call uses another thread for each 16 MB, and `pread` gets the same number.
double timePread(std::string const& path, std::vector<FilePart> const& parts, vlUInt64 nbBytes) {
    vlUInt64 const nbUseful = std::max<vlUInt64>(1, nbBytes >> 24);
    return timePreadOfParts(path, parts, std::min(nbUseful, countProcessors()));
}

void addBesidePread(Suite& suite, Load const& load, Limit const& limit) {
    suite.add("TIFF load " + std::string(load.name) + " / pread", Quantity::time(), limit, [=, &suite] {
        TiffFile const file = makeChecked(suite, load);
        std::vector<FilePart> const parts = findPlaces(file.path).parts;
        return Contenders{[=] { return timeLoad(file, {}); },
                          [=] { return timePread(file.path, parts, file.layout.getNbBytes()); }};
    });
}

void addImageJ(Suite& suite) {
    suite.add("ImageJ load 200 planes of 2 MB / pread", Quantity::time(), atMost(1.03), [&suite] {
        TiffFile const file = makeImageJStack(suite.getData(), {1024, 1024, suite.cut(200)});
        file.requireSamePixels(*loadTiffImageFile(file.path));
        std::vector<FilePart> const planes = splitIntoPlanes(file.layout, g_imageJPlanes);
        return Contenders{[=] { return timeLoad(file, {}); },
                          [=] { return timePread(file.path, planes, file.layout.getNbBytes()); }};
    });
}

void addDistributed(Suite& suite, Load const& load) {
    suite.add("TIFF load " + std::string(load.name) + ", distributed / load, 1 thread", Quantity::time(),
              atMost(0.6), [=, &suite] {
                  TiffFile const file = makeChecked(suite, load);
                  file.requireSamePixels(*loadDistributedTiffImageFile(file.path));
                  return Contenders{[=] { return timeDistributedLoad(file); },
                                    [=] { return timeLoad(file, onThreads(1)); }};
              });
}

} // namespace

void addTiffLoadBenchmarks(Suite& suite) {
    Load const small = {"20,000 planes of 4 KB", {64, 64, 20000, 1}};
    for (Load const& load : {Load{"1,000 planes of 4 KB", {64, 64, 1000, 1}},
                             Load{"3,000 planes of 4 KB", {64, 64, 3000, 1}}, small}) {
        addBesideLibtiff(suite, load, atMost(0.6));
        addBesidePread(suite, load, atMost(3));
    }
    addDistributed(suite, small);
    Load const large = {"200 planes of 2 MB", {1024, 1024, 200}};
    addBesideLibtiff(suite, large, atMost(1));
    addBesidePread(suite, large, atMost(1.5));
    Load const rgb = {"100 RGB planes of 3 MB", {1024, 1024, 100, 1, 3}};
    addBesideChannels(suite, rgb, atMost(0.6));
    addBesideLibtiff(suite, rgb, noLimit());
    addBesidePread(suite, rgb, noLimit());
    double const onAll = 1.15 / static_cast<double>(countProcessors());
    TiffLayout const packed = {1024, 1024, 50};
    addBesideLibtiff(suite, {"50 planes of 2 MB, LZW, 1 thread", packed, COMPRESSION_LZW, 1}, atMost(1));
    addBesideLibtiff(suite, {"50 planes of 2 MB, LZW", packed, COMPRESSION_LZW}, atMost(onAll));
    addBesideLibtiff(suite, {"50 planes of 2 MB, Deflate, 1 thread", packed, COMPRESSION_DEFLATE, 1},
                     atMost(1));
    addBesideLibtiff(suite, {"50 planes of 2 MB, Deflate", packed, COMPRESSION_DEFLATE}, atMost(onAll));
    addImageJ(suite);
}

} // namespace velmo::bench
