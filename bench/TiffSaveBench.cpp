// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Suite.h"
#include "TiffData.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <memory>
#include <tiff.h>
#include <vector>

namespace velmo::bench {

namespace {

namespace fs = boost::filesystem;
using image::file::eTiffCompression;

struct Saving {
    image::ImagePtr pImage;
    fs::path target;
    eTiffCompression compression;
    PlanesOf16Bits planes; ///< as the libtiff loop writes them
    std::vector<std::byte> interleaved;

    int getLibtiffCompression() const {
        return compression == image::file::eTC_None  ? COMPRESSION_NONE
               : compression == image::file::eTC_Lzw ? COMPRESSION_LZW
                                                     : COMPRESSION_DEFLATE;
    }
    vlUInt64 getNbBytes() const { return planes.getPlaneBytes() * planes.nbPlanes; }
    void saveOurs() const { image::file::saveTiffImageFile(target, pImage, compression); }
    void saveByLoop() const { saveByLibtiff(target.string(), planes, getLibtiffCompression()); }
    void saveByPwrite() const { Descriptor::create(target.string()).write(planes.pPixels, getNbBytes(), 0); }
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

/// The libtiff loop writes interleaved channels. In memory they are already interleaved.
std::vector<std::byte> interleave(image::BaseImage const& image) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    std::vector<std::byte> pixels(geometry.getFullMemorySize());
    auto* const pTarget = reinterpret_cast<std::uint16_t*>(pixels.data());
    vlUInt64 const sizeC = geometry.getSizeC();
    for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
        for (vlUInt64 c = 0; c < sizeC; ++c) {
            auto const* const pPlane = static_cast<std::uint16_t const*>(image.accessPlan(z, c, 0));
            for (vlUInt64 i = 0; i < geometry.getPlanNbPixels(); ++i) {
                pTarget[(z * geometry.getPlanNbPixels() + i) * sizeC + c] = pPlane[i];
            }
        }
    }
    return pixels;
}

/// Sizes of the planes in pixels: 8 KB and 2 MB.
constexpr vlUInt64 g_small = 64;
constexpr vlUInt64 g_large = 1024;

SavingPtr prepare(BenchData& data, vlUInt64 size, vlUInt64 sizeC, vlUInt64 nbPlanes,
                  eTiffCompression compression) {
    auto const pSaving = std::make_shared<Saving>();
    pSaving->pImage = makePicture(size, size, sizeC, nbPlanes);
    pSaving->target = data.getFolder() / "saved.tif";
    pSaving->compression = compression;
    pSaving->interleaved = interleave(*pSaving->pImage);
    pSaving->planes = {pSaving->interleaved.data(), size, size, nbPlanes, sizeC};
    pSaving->saveOurs();
    auto const pLoaded = image::file::loadTiffImageFile(pSaving->target, image::file::eTBM_Default);
    require(interleave(*pLoaded) == pSaving->interleaved, "The saved file has other pixels");
    return pSaving;
}

void addTime(Suite& suite, std::string const& name, Limit const& limit, vlUInt64 sizeC, vlUInt64 nbPlanes,
             eTiffCompression compression, Save lowerBound, vlUInt64 size = g_large) {
    suite.add("TIFF save " + name, Quantity::time(), limit, [=, &suite] {
        SavingPtr const pSaving = prepare(suite.getData(), size, sizeC, nbPlanes, compression);
        return Contenders{[pSaving] { return timeSave(*pSaving, &Saving::saveOurs); },
                          [pSaving, lowerBound] { return timeSave(*pSaving, lowerBound); }};
    });
}

void addSize(Suite& suite, std::string const& name, Limit const& limit, vlUInt64 sizeC,
             eTiffCompression compression) {
    suite.add("TIFF size " + name + " / libtiff loop", Quantity::memory(), limit, [=, &suite] {
        SavingPtr const pSaving = prepare(suite.getData(), g_large, sizeC, 4, compression);
        return Contenders{[pSaving] { return sizeOfSave(*pSaving, &Saving::saveOurs); },
                          [pSaving] { return sizeOfSave(*pSaving, &Saving::saveByLoop); }};
    });
}

} // namespace

void addTiffSaveBenchmarks(Suite& suite) {
    using namespace image::file;
    Save const loop = &Saving::saveByLoop;
    addTime(suite, "1,000 planes of 8 KB / libtiff loop", atMost(0.5), 1, 1000, eTC_None, loop, g_small);
    addTime(suite, "3,000 planes of 8 KB / libtiff loop", atMost(0.5), 1, 3000, eTC_None, loop, g_small);
    addTime(suite, "20,000 planes of 8 KB / libtiff loop", atMost(0.5), 1, 20000, eTC_None, loop, g_small);
    addTime(suite, "20,000 planes of 8 KB / pwrite", noLimit(), 1, 20000, eTC_None, &Saving::saveByPwrite,
            g_small);
    addTime(suite, "200 planes of 2 MB / libtiff loop", atMost(1.5), 1, 200, eTC_None, loop);
    addTime(suite, "200 planes of 2 MB / pwrite", noLimit(), 1, 200, eTC_None, &Saving::saveByPwrite);
    addTime(suite, "20 planes of 2 MB, LZW / libtiff loop", atMost(1.3), 1, 20, eTC_Lzw, loop);
    addTime(suite, "20 planes of 2 MB, Deflate / libtiff loop", atMost(1.3), 1, 20, eTC_Deflate, loop);
    addTime(suite, "20 RGB planes of 6 MB / libtiff loop", noLimit(), 3, 20, eTC_None, loop);
    addTime(suite, "8 RGB planes of 6 MB, LZW / libtiff loop", noLimit(), 3, 8, eTC_Lzw, loop);
    addTime(suite, "8 RGB planes of 6 MB, Deflate / libtiff loop", noLimit(), 3, 8, eTC_Deflate, loop);
    addSize(suite, "grey, LZW", atMost(1.1), 1, eTC_Lzw);
    addSize(suite, "grey, Deflate", atMost(1.1), 1, eTC_Deflate);
    addSize(suite, "RGB", noLimit(), 3, eTC_None);
    addSize(suite, "RGB, LZW", noLimit(), 3, eTC_Lzw);
    addSize(suite, "RGB, Deflate", noLimit(), 3, eTC_Deflate);
}

} // namespace velmo::bench
