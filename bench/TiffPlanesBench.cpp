// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <memory>
#include <numeric>
#include <random>

namespace velmo::bench {

namespace {

using namespace image::file;

/// Reads a plane of an open file.
using ReadPlane = std::function<void(vlUInt64 plane, std::byte* pPlane)>;
/// What each thread does before the clock starts.
using OpenPlanes = std::function<ReadPlane()>;

/// Seconds in which each thread reads every plane once, in an order of its own.
double timeReads(TiffLayout const& layout, vlUInt64 nbThreads, OpenPlanes const& open) {
    std::vector<ReadPlane> readers(nbThreads);
    std::vector<std::vector<vlUInt64>> orders(nbThreads);
    std::vector<Pixels> buffers(nbThreads);
    return timeThreads(
        nbThreads,
        [&](vlUInt64 thread) {
            orders[thread].resize(layout.nbPlanes);
            std::iota(orders[thread].begin(), orders[thread].end(), 0);
            std::shuffle(orders[thread].begin(), orders[thread].end(), std::mt19937_64(thread));
            buffers[thread].resize(layout.getPlaneBytes());
            readers[thread] = open();
            readers[thread](orders[thread].back(), buffers[thread].data());
        },
        [&](vlUInt64 thread) {
            for (vlUInt64 const plane : orders[thread]) {
                readers[thread](plane, buffers[thread].data());
            }
        });
}

void read(image::BaseImage const& image, vlUInt64 plane, vlUInt64 firstPixel, vlUInt64 nbPixels,
          std::byte* pPixels) {
    BoolResult const result = image.readPixels(plane, 0, 0, firstPixel, nbPixels, pPixels);
    require(static_cast<bool>(result), result.getMessage());
}

/// All threads share one image.
double timeShared(TiffFile const& file, vlUInt64 nbThreads) {
    image::ImageConstPtr const pImage = openTiffImageFile(file.path);
    vlUInt64 const nbPixels = file.layout.sizeX * file.layout.sizeY;
    return timeReads(file.layout, nbThreads, [&]() -> ReadPlane {
        return [&](vlUInt64 plane, std::byte* pPlane) { read(*pImage, plane, 0, nbPixels, pPlane); };
    });
}

double timeRows(TiffFile const& file) {
    image::ImageConstPtr const pImage = openTiffImageFile(file.path);
    TiffLayout const& layout = file.layout;
    return timeReads(layout, 1, [&]() -> ReadPlane {
        return [&](vlUInt64 plane, std::byte* pPlane) {
            for (vlUInt64 y = 0; y < layout.sizeY; ++y) {
                read(*pImage, plane, y * layout.sizeX, layout.sizeX, pPlane + y * layout.getRowBytes());
            }
        };
    });
}

/// Each thread has a handle.
double timeLibtiff(TiffFile const& file, std::vector<vlUInt64> const& directories, vlUInt64 nbThreads) {
    return timeReads(file.layout, nbThreads, [&]() -> ReadPlane {
        auto const pPlanes = std::make_shared<LibtiffPlanes const>(file.path);
        return [&directories, pPlanes, nbBytes = file.layout.getPlaneBytes()](
                   vlUInt64 plane, std::byte* pPlane) { pPlanes->read(directories[plane], pPlane, nbBytes); };
    });
}

void addShared(Suite& suite, std::string const& what, TiffLayout const& layout, int compression,
               vlUInt64 nbThreads, Limit const& limit) {
    std::string const threads =
        std::to_string(nbThreads) + (nbThreads == 1 ? " thread" : " threads, one image");
    suite.add("TIFF read random planes, " + what + ", " + threads + " / libtiff, known offsets" +
                  (nbThreads == 1 ? "" : ", a handle each"),
              Quantity::time(), limit, [=, &suite] {
                  TiffLayout cut = layout;
                  cut.nbPlanes = suite.cut(layout.nbPlanes);
                  TiffFile const file = makeTiff(suite.getData(), cut, compression);
                  file.requireSamePixels(*openTiffImageFile(file.path));
                  std::vector<vlUInt64> const directories = findPlaces(file.path).directories;
                  return Contenders{[=] { return timeShared(file, nbThreads); },
                                    [=] { return timeLibtiff(file, directories, nbThreads); }};
              });
}

void addRows(Suite& suite) {
    suite.add("TIFF read planes of one LZW strip row by row / whole planes", Quantity::time(), atMost(2),
              [&suite] {
                  TiffFile const file =
                      makeTiff(suite.getData(), {512, 512, suite.cut(8), 2, 1, 512}, COMPRESSION_LZW);
                  file.requireSamePixels(*openTiffImageFile(file.path));
                  return Contenders{[=] { return timeRows(file); }, [=] { return timeShared(file, 1); }};
              });
}

/// Opens a file and reads one plane.
double timeOpening(TiffFile const& file, vlUInt64 plane, Pixels& pixels) {
    Stopwatch const stopwatch;
    image::ImageConstPtr const pImage = openTiffImageFile(file.path);
    read(*pImage, plane, 0, file.layout.sizeX * file.layout.sizeY, pixels.data());
    return stopwatch.getSeconds();
}

void addOpening(Suite& suite) {
    auto const add = [&suite](std::string const& comparedWith, auto const& measure) {
        suite.add("TIFF open 20,000 planes and read one / " + comparedWith, Quantity::time(), noLimit(),
                  [&suite, measure] {
                      TiffFile const file = makeTiff(suite.getData(), {64, 64, suite.cut(20000), 1});
                      TiffPlaces const places = findPlaces(file.path);
                      vlUInt64 const plane = file.layout.nbPlanes * 3 / 4;
                      auto const pOurs = std::make_shared<Pixels>(file.layout.getPlaneBytes());
                      auto const pOthers = std::make_shared<Pixels>(file.layout.getPlaneBytes());
                      timeOpening(file, plane, *pOurs);
                      timeLibtiffOpening(file.path, plane, file.layout.nbPlanes, *pOthers);
                      require(*pOurs == *pOthers, "The plane has other pixels");
                      return Contenders{[=] { return timeOpening(file, plane, *pOurs); },
                                        [=] { return measure(file, places, plane, *pOthers); }};
                  });
    };
    add("libtiff", [](TiffFile const& file, TiffPlaces const&, vlUInt64 plane, Pixels& pixels) {
        return timeLibtiffOpening(file.path, plane, file.layout.nbPlanes, pixels);
    });
    add("pread of the links", [](TiffFile const& file, TiffPlaces const& places, vlUInt64 plane, Pixels&) {
        return timePreadOfLinks(file.path, file.layout.nbPlanes, places.parts[plane]);
    });
}

/// The accessor: opens the file and reads random planes, as many as the file has. Seconds for each plane.
double timeAccessor(TiffFile const& file, image::eImageAccessMode mode) {
    vlUInt64 const nbPlanes = file.layout.nbPlanes;
    Pixels pixels(file.layout.getPlaneBytes());
    std::mt19937 random(7);
    Stopwatch const stopwatch;
    TiffImageFile accessor;
    std::string userProperties;
    BoolResult result = accessor.openFile(file.path, mode, eTDM_Volume, eTBM_Default, userProperties);
    for (vlUInt64 i = 0; result && i < nbPlanes; ++i) {
        result = accessor.readRawData(random() % nbPlanes, 0, 0, 0, file.layout.sizeX * file.layout.sizeY,
                                      pixels.data());
    }
    require(static_cast<bool>(result), result.getMessage());
    return stopwatch.getSeconds() / static_cast<double>(nbPlanes);
}

/// The time for a plane must not grow with the number of planes.
void addGrowth(Suite& suite, std::string const& mode, image::eImageAccessMode access) {
    suite.add("TIFF accessor, random reads of 60,000 planes, " + mode + " / of 1,000, per plane",
              Quantity::time(), atMost(2), [=, &suite] {
                  auto const makeGrey = [&suite](vlUInt64 nbPlanes) {
                      return makeTiff(suite.getData(), {64, 64, suite.cut(nbPlanes)});
                  };
                  TiffFile const many = makeGrey(60000);
                  TiffFile const few = makeGrey(1000);
                  return Contenders{[=] { return timeAccessor(many, access); },
                                    [=] { return timeAccessor(few, access); }};
              });
}

} // namespace

void addTiffPlanesBenchmarks(Suite& suite) {
    addOpening(suite);
    addShared(suite, "10,000 of 4 KB", {64, 64, 10000, 1}, COMPRESSION_NONE, 1, atMost(1));
    addShared(suite, "50 of 2 MB, LZW", {1024, 1024, 50}, COMPRESSION_LZW, 2, atMost(1.05));
    addShared(suite, "200 of 2 MB", {1024, 1024, 200}, COMPRESSION_NONE, 4, atMost(1.1));
    addRows(suite);
    addGrowth(suite, "read only", image::eIAM_ReadOnly);
    addGrowth(suite, "read and write", image::eIAM_ReadWrite);
}

} // namespace velmo::bench
