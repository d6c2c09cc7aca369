// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <memory>
#include <utility>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;
using namespace image::file;

/// An image in memory, and the file that it is saved to. The file exists only during a measurement.
struct Saving {
    TiffLayout layout;
    image::ImagePtr pImage;
    FreshMemory pixels; ///< as a file stores them, on the same kind of pages
    std::string target;
    eTiffCompression compression;

    Saving(TiffLayout const& aLayout, image::ImagePtr const& pAnImage, std::string aTarget,
           eTiffCompression aCompression)
        : layout(aLayout), pImage(pAnImage), pixels(aLayout.getNbBytes()), target(std::move(aTarget)),
          compression(aCompression) {}

    int getLibtiffCompression() const {
        return compression == eTC_None  ? COMPRESSION_NONE
               : compression == eTC_Lzw ? COMPRESSION_LZW
                                        : COMPRESSION_DEFLATE;
    }
    void saveOurs() const { saveTiffImageFile(target, pImage, {compression}); }
    void saveByLoop() const { saveByLibtiff(target, layout, pixels.getData(), getLibtiffCompression()); }
    void saveByPwrite() const { Descriptor::create(target).write(pixels.getData(), layout.getNbBytes(), 0); }
};

using SavingPtr = std::shared_ptr<Saving const>;
using Save = void (Saving::*)() const;

double timeSave(Saving const& saving, Save save) {
    Stopwatch const stopwatch;
    (saving.*save)();
    double const seconds = stopwatch.getSeconds();
    fs::remove(saving.target);
    return seconds;
}

double sizeOfSave(Saving const& saving, Save save) {
    (saving.*save)();
    auto const size = static_cast<double>(fs::file_size(saving.target));
    fs::remove(saving.target);
    return size;
}

/// The work of a row.
struct Work {
    char const* name;
    TiffLayout layout;
    eTiffCompression compression = eTC_None;
};

SavingPtr prepare(Suite const& suite, Work const& work) {
    TiffLayout layout = work.layout;
    layout.nbPlanes = suite.cut(layout.nbPlanes);
    Pixels const pixels = makePixels(layout);
    std::string const target = (suite.getData().getFolder() / "saved.tif").string();
    auto const pSaving = std::make_shared<Saving>(layout, toImage(layout, pixels), target, work.compression);
    std::memcpy(pSaving->pixels.getData(), pixels.data(), pixels.size());
    for (Save const save : {&Saving::saveOurs, &Saving::saveByLoop}) {
        (*pSaving.*save)();
        requireSamePixels(target, pixels);
        fs::remove(target);
    }
    return pSaving;
}

void add(Suite& suite, std::string const& name, Quantity const& quantity, Limit const& limit,
         Work const& work, double (*measure)(Saving const&, Save), Save other) {
    suite.add(name, quantity, limit, [=, &suite] {
        SavingPtr const pSaving = prepare(suite, work);
        return Contenders{[=] { return measure(*pSaving, &Saving::saveOurs); },
                          [=] { return measure(*pSaving, other); }};
    });
}

void addTime(Suite& suite, Work const& work, Limit const& limit) {
    add(suite, "TIFF save " + std::string(work.name) + " / libtiff loop", Quantity::time(), limit, work,
        timeSave, &Saving::saveByLoop);
}

void addSize(Suite& suite, Work const& work, Limit const& limit) {
    add(suite, "TIFF file size of " + std::string(work.name) + " / libtiff loop", Quantity::memory(), limit,
        work, sizeOfSave, &Saving::saveByLoop);
}

} // namespace

void addTiffSaveBenchmarks(Suite& suite) {
    for (Work const& work :
         {Work{"1,000 planes of 4 KB", {64, 64, 1000, 1}}, Work{"3,000 planes of 4 KB", {64, 64, 3000, 1}},
          Work{"20,000 planes of 4 KB", {64, 64, 20000, 1}}}) {
        addTime(suite, work, atMost(0.5));
    }
    addTime(suite, {"20,000 RGB planes of 12 KB", {64, 64, 20000, 1, 3}}, atMost(1));
    Work const plain = {"50 planes of 2 MB", {1024, 1024, 50}};
    addTime(suite, plain, atMost(1));
    add(suite, "TIFF save 50 planes of 2 MB / pwrite", Quantity::time(), atMost(1.2), plain, timeSave,
        &Saving::saveByPwrite);
    Limit const onAll = atMost(1.2 / static_cast<double>(countProcessors()));
    for (Work const& work : {Work{"50 planes of 2 MB, LZW", {1024, 1024, 50}, eTC_Lzw},
                             Work{"50 planes of 2 MB, Deflate", {1024, 1024, 50}, eTC_Deflate}}) {
        addTime(suite, work, onAll);
        addSize(suite, work, atMost(1.1));
    }
    for (Work const& work : {Work{"20 RGB planes of 3 MB", {1024, 1024, 20, 1, 3}},
                             Work{"20 RGB planes of 3 MB, LZW", {1024, 1024, 20, 1, 3}, eTC_Lzw},
                             Work{"20 RGB planes of 3 MB, Deflate", {1024, 1024, 20, 1, 3}, eTC_Deflate}}) {
        addTime(suite, work, atMost(1));
        addSize(suite, work, atMost(1.02));
    }
}

} // namespace velmo::bench
