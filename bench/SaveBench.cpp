// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImage/BaseImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <memory>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;

/// A volume in memory, and the file that it is saved to. The file exists only during a measurement.
struct Saving {
    RawFile file;
    image::ImagePtr pImage;
    fs::path target;

    std::byte const* getPixels() const {
        return static_cast<std::byte const*>(image::ImageConstPtr(pImage)->accessPlan(0, 0, 0));
    }
};

double timeSave(Saving const& saving) {
    Stopwatch const stopwatch;
    image::file::saveRawImageFile(saving.target, saving.pImage);
    double const seconds = stopwatch.getSeconds();
    fs::remove(saving.target);
    return seconds;
}

double timePwrite(Saving const& saving) {
    Stopwatch const stopwatch;
    Descriptor::create(saving.target.string()).write(saving.getPixels(), saving.file.nbBytes, 0);
    double const seconds = stopwatch.getSeconds();
    fs::remove(saving.target);
    return seconds;
}

void requireSameBytes(Saving const& saving) {
    image::file::saveRawImageFile(saving.target, saving.pImage);
    require(fs::file_size(saving.target) == saving.file.nbBytes, "The saved file has another size");
    FreshMemory const saved(saving.file.nbBytes);
    Descriptor::openForReading(saving.target.string()).read(saved.getData(), saving.file.nbBytes, 0);
    fs::remove(saving.target);
    require(std::memcmp(saved.getData(), saving.getPixels(), saving.file.nbBytes) == 0,
            "The saved file differs from the image");
}

void addSave(Suite& suite, std::string const& what, Limit const& limit, vlUInt64 sizeX, vlUInt64 sizeY,
             vlUInt64 sizeZ) {
    suite.add("raw save " + what + " / pwrite", Quantity::time(), limit, [=, &suite] {
        RawFile const file = suite.getData().getVolume(sizeX, sizeY, suite.cut(sizeZ));
        auto const pSaving = std::make_shared<Saving const>(
            Saving{file, image::file::loadRawImageFile(file.path, *file.pGeometry),
                   suite.getData().getFolder() / "saved"});
        requireSameBytes(*pSaving);
        return Contenders{[pSaving] { return timeSave(*pSaving); },
                          [pSaving] { return timePwrite(*pSaving); }};
    });
}

} // namespace

void addSaveBenchmarks(Suite& suite) {
    addSave(suite, "800 MB in planes of 2 MB", atMost(1.25), 1024, 1024, 400);
    addSave(suite, "800 MB in planes of 128 KB", noLimit(), 256, 256, 6400);
}

} // namespace velmo::bench
