// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <memory>
#include <tiff.h>

namespace velmo::bench {

namespace {

using VolumePtr = std::shared_ptr<TiffVolume const>;

double timeLoad(TiffVolume const& volume) {
    Stopwatch const stopwatch;
    image::ImagePtr const pImage = image::file::loadTiffImageFile(volume.path, image::file::eTBM_Default);
    return stopwatch.getSeconds();
}

VolumePtr check(TiffVolume const& volume) {
    volume.requireSamePixels(*image::file::loadTiffImageFile(volume.path, image::file::eTBM_Default));
    return std::make_shared<TiffVolume const>(volume);
}

Contenders besideLibtiff(VolumePtr const& pVolume) {
    return {[pVolume] { return timeLoad(*pVolume); },
            [pVolume] { return timeLibtiffLoad(pVolume->path.string(), pVolume->nbBytes); }};
}

Contenders besidePread(VolumePtr const& pVolume) {
    return {[pVolume] { return timeLoad(*pVolume); },
            [pVolume] { return timePread(pVolume->path.string(), pVolume->nbBytes); }};
}

} // namespace

void addTiffLoadBenchmarks(Suite& suite) {
    suite.add("TIFF load 200 planes of 2 MB / libtiff loop", Quantity::time(), atMost(0.5), [&suite] {
        return besideLibtiff(check(makeTiff(suite.getData(), 1024, 200, COMPRESSION_NONE)));
    });
    suite.add("TIFF load 200 planes of 2 MB / pread", Quantity::time(), atMost(1.5), [&suite] {
        return besidePread(check(makeTiff(suite.getData(), 1024, 200, COMPRESSION_NONE)));
    });
    suite.add("TIFF load 40 planes of 2 MB, LZW / libtiff loop", Quantity::time(), atMost(1.1), [&suite] {
        return besideLibtiff(check(makeTiff(suite.getData(), 1024, 40, COMPRESSION_LZW)));
    });
    suite.add("TIFF load 40 planes of 2 MB, Deflate / libtiff loop", Quantity::time(), atMost(1.1), [&suite] {
        return besideLibtiff(check(makeTiff(suite.getData(), 1024, 40, COMPRESSION_DEFLATE)));
    });
    suite.add("ImageJ stack load 200 planes of 2 MB / pread", Quantity::time(), atMost(1.2),
              [&suite] { return besidePread(check(makeImageJStack(suite.getData(), 1024, 200))); });
}

} // namespace velmo::bench
