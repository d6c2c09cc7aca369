// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffData.h"

#include "LowerBound.h"
#include "Suite.h"

#include <VELMOImage/MemoryImage.h>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <cstring>
#include <random>

namespace velmo::bench {

namespace {

image::ImageGeometryPtr makeGeometry(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeC, vlUInt64 sizeZ) {
    image::VolumeGeometry volume;
    volume.init3d(sizeZ);
    image::ColorGeometry color;
    if (sizeC == 3) {
        color.initRgb();
    }
    return image::geometry(image::eIBT_UInt16, sizeX, sizeY, volume, color, image::TemporalGeometry());
}

TiffVolume makeVolume(BenchData& data, std::string const& name, vlUInt64 size, vlUInt64 nbPlanes) {
    image::ImagePtr const pImage = makePicture(size, size, 1, nbPlanes);
    return {pImage, data.getFolder() / (name + ".tif"), data.getFolder() / (name + "-saved.tif"),
            pImage->getGeometry().getFullMemorySize()};
}

} // namespace

PlanesOf16Bits TiffVolume::getPlanes() const {
    image::BaseImageGeometry const& geometry = pImage->getGeometry();
    auto const* const pPixels =
        static_cast<std::byte const*>(image::ImageConstPtr(pImage)->accessPlan(0, 0, 0));
    return {pPixels, geometry.getSizeX(), geometry.getSizeY(), geometry.getSizeZ()};
}

void TiffVolume::requireSamePixels(image::BaseImage const& other) const {
    require(image::haveSamePixels(other.getGeometry(), pImage->getGeometry()),
            "The file has another geometry");
    auto const* const pOthers = other.accessPlan(0, 0, 0);
    require(std::memcmp(pOthers, image::ImageConstPtr(pImage)->accessPlan(0, 0, 0), nbBytes) == 0,
            "The file has other pixels");
}

image::ImagePtr makePicture(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeC, vlUInt64 sizeZ) {
    auto const pImage = boost::make_shared<image::MemoryImage>();
    require(static_cast<bool>(pImage->init(*makeGeometry(sizeX, sizeY, sizeC, sizeZ))), "No memory");
    std::mt19937 random(static_cast<std::uint32_t>(sizeX * sizeZ));
    auto* pPixel = static_cast<std::uint16_t*>(pImage->getDataPtr());
    for (vlUInt64 plane = 0; plane < sizeC * sizeZ; ++plane) {
        for (vlUInt64 y = 0; y < sizeY; ++y) {
            for (vlUInt64 x = 0; x < sizeX; ++x, ++pPixel) {
                bool const bInside =
                    (x - sizeX / 2) * (x - sizeX / 2) + (y - sizeY / 2) * (y - sizeY / 2) < sizeX * sizeY / 8;
                *pPixel =
                    static_cast<std::uint16_t>((bInside ? 4000 + x / 8 : 100) + (random() >> 29) + plane);
            }
        }
    }
    return pImage;
}

TiffVolume makeTiff(BenchData& data, vlUInt64 size, vlUInt64 nbPlanes, int compression) {
    std::string const name =
        "planes" + std::to_string(size) + 'x' + std::to_string(nbPlanes) + '-' + std::to_string(compression);
    TiffVolume volume = makeVolume(data, name, size, nbPlanes);
    saveByLibtiff(volume.path.string(), volume.getPlanes(), compression);
    return volume;
}

TiffVolume makeImageJStack(BenchData& data, vlUInt64 size, vlUInt64 nbPlanes) {
    TiffVolume volume = makeVolume(data, "imagej" + std::to_string(size), size, nbPlanes);
    saveAsImageJStack(volume.path.string(), volume.getPlanes());
    return volume;
}

} // namespace velmo::bench
