// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffData.h"

#include "Suite.h"

#include <VELMOImage/MemoryImage.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <cstring>
#include <random>

namespace velmo::bench {

namespace {

image::ImageGeometryPtr makeGeometry(TiffLayout const& layout) {
    image::VolumeGeometry volume;
    volume.init3d(layout.nbPlanes);
    image::ColorGeometry color;
    if (layout.nbSamples == 3) {
        color.initRgb();
    }
    return image::geometry(layout.sampleBytes == 1 ? image::eIBT_UInt8 : image::eIBT_UInt16, layout.sizeX,
                           layout.sizeY, volume, color, image::TemporalGeometry());
}

template <class Sample>
void fill(TiffLayout const& layout, Sample* pSample) {
    constexpr unsigned bright = sizeof(Sample) == 1 ? 160 : 4000;
    std::minstd_rand random(static_cast<std::uint32_t>(layout.getNbBytes()));
    for (vlUInt64 plane = 0; plane < layout.nbPlanes; ++plane) {
        for (vlUInt64 y = 0; y < layout.sizeY; ++y) {
            for (vlUInt64 x = 0; x < layout.sizeX; ++x) {
                vlUInt64 const fromCentre = (x - layout.sizeX / 2) * (x - layout.sizeX / 2) +
                                            (y - layout.sizeY / 2) * (y - layout.sizeY / 2);
                vlUInt64 const grey =
                    fromCentre < layout.sizeX * layout.sizeY / 8 ? bright + x / 32 : bright / 32 + plane % 16;
                for (vlUInt64 c = 0; c < layout.nbSamples; ++c) {
                    *pSample++ = static_cast<Sample>(grey + 7 * c + (random() >> 28));
                }
            }
        }
    }
}

/// Copies samples between memory in which they have other distances.
void copySamples(std::byte* pTo, vlUInt64 stepTo, std::byte const* pFrom, vlUInt64 stepFrom,
                 vlUInt64 nbSamples, vlUInt64 sampleBytes) {
    for (vlUInt64 sample = 0; sample < nbSamples; ++sample) {
        std::memcpy(pTo + sample * stepTo, pFrom + sample * stepFrom, sampleBytes);
    }
}

/// Writes a file under its own name at first use.
template <class Write>
TiffFile makeFile(BenchData& data, std::string const& kind, TiffLayout const& layout, Write const& write) {
    std::string const name = kind + '-' + std::to_string(layout.sizeX) + 'x' + std::to_string(layout.sizeY) +
                             'x' + std::to_string(layout.nbPlanes) + '-' +
                             std::to_string(layout.sampleBytes) + '-' + std::to_string(layout.nbSamples) +
                             '-' + std::to_string(layout.nbRowsOfStrip) + ".tif";
    boost::filesystem::path const path =
        data.getOrMake(name, [&](std::string const& made) { write(made, makePixels(layout).data()); });
    return {layout, path.string()};
}

} // namespace

Pixels makePixels(TiffLayout const& layout) {
    Pixels pixels(layout.getNbBytes());
    if (layout.sampleBytes == 1) {
        fill(layout, reinterpret_cast<std::uint8_t*>(pixels.data()));
    } else {
        fill(layout, reinterpret_cast<std::uint16_t*>(pixels.data()));
    }
    return pixels;
}

image::ImagePtr toImage(TiffLayout const& layout, Pixels const& pixels) {
    auto const pImage = boost::make_shared<image::MemoryImage>();
    require(static_cast<bool>(pImage->init(*makeGeometry(layout))), "No memory");
    vlUInt64 const nbPixels = layout.sizeX * layout.sizeY;
    auto* pPlane = static_cast<std::byte*>(pImage->getDataPtr());
    for (vlUInt64 c = 0; c < layout.nbSamples; ++c) {
        for (vlUInt64 z = 0; z < layout.nbPlanes; ++z, pPlane += nbPixels * layout.sampleBytes) {
            copySamples(pPlane, layout.sampleBytes,
                        pixels.data() + z * layout.getPlaneBytes() + c * layout.sampleBytes,
                        layout.nbSamples * layout.sampleBytes, nbPixels, layout.sampleBytes);
        }
    }
    return pImage;
}

void requireSamePixels(image::BaseImage const& image, TiffLayout const& layout, Pixels const& pixels) {
    require(image::haveSamePixels(image.getGeometry(), *makeGeometry(layout)),
            "The image has another geometry");
    vlUInt64 const nbPixels = layout.sizeX * layout.sizeY;
    Pixels plane(nbPixels * layout.sampleBytes);
    Pixels page(layout.getPlaneBytes());
    for (vlUInt64 z = 0; z < layout.nbPlanes; ++z) {
        for (vlUInt64 c = 0; c < layout.nbSamples; ++c) {
            BoolResult const result = image.readPixels(z, c, 0, 0, nbPixels, plane.data());
            require(static_cast<bool>(result), result.getMessage());
            copySamples(page.data() + c * layout.sampleBytes, layout.nbSamples * layout.sampleBytes,
                        plane.data(), layout.sampleBytes, nbPixels, layout.sampleBytes);
        }
        require(std::equal(page.begin(), page.end(), pixels.data() + z * layout.getPlaneBytes()),
                "The image has other pixels");
    }
}

void requireSamePixels(std::string const& path, Pixels const& pixels) {
    Pixels stored(pixels.size());
    require(readByLibtiff(path, stored.data(), stored.size()) == stored.size() && stored == pixels,
            "The file has other pixels");
}

void TiffFile::requireSamePixels(image::BaseImage const& image) const {
    bench::requireSamePixels(image, layout, makePixels(layout));
}

TiffFile makeTiff(BenchData& data, TiffLayout const& layout, int compression) {
    return makeFile(data, "planes" + std::to_string(compression), layout,
                    [&](std::string const& path, std::byte const* pPixels) {
                        saveByLibtiff(path, layout, pPixels, compression);
                    });
}

TiffFile makeImageJStack(BenchData& data, TiffLayout const& layout) {
    return makeFile(data, "imagej", layout, [&](std::string const& path, std::byte const* pPixels) {
        saveAsImageJStack(path, layout, pPixels);
    });
}

} // namespace velmo::bench
