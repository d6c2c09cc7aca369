// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SavedImages.h"

#include "ImageBytes.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace velmo::test {

using namespace image;

namespace {

vlUInt64 const g_sizeX = 301;
vlUInt64 const g_sizeY = 61; // strips of 8 KiB leave a remainder for every pixel type and colour below
vlUInt64 const g_nbBlackRows = 11;

ColorGeometry makeColor(eColorGeometryType type) {
    ColorGeometry color;
    color.init(type);
    return color;
}

ColorGeometry makeUserColor(vlUInt64 sizeC) {
    ColorGeometry color;
    color.initUser(sizeC);
    return color;
}

VolumeGeometry makeVolume(vlUInt64 sizeZ) {
    VolumeGeometry volume;
    sizeZ == 1 ? volume.init2d() : volume.init3d(sizeZ);
    return volume;
}

TemporalGeometry makeTemporal(vlUInt64 sizeT) {
    TemporalGeometry temporal;
    sizeT == 1 ? temporal.initSingle() : temporal.initSequence(sizeT);
    return temporal;
}

/// Bytes that are pixels of the type: 0 and 1 of a binary image, ordinary numbers of floats.
void makeValid(eImageBufferType bufferType, std::string& pixels) {
    if (bufferType == eIBT_Binary) {
        std::for_each(pixels.begin(), pixels.end(), [](char& byte) { byte = static_cast<char>(byte & 1); });
    } else if (bufferType == eIBT_Real32) {
        for (std::size_t i = 0; i + 4 <= pixels.size(); i += 4) {
            short value = 0;
            std::memcpy(&value, &pixels[i], sizeof(value));
            float const number = static_cast<float>(value) / 7.0F;
            std::memcpy(&pixels[i], &number, sizeof(number));
        }
    }
}

std::string makePlanes(BaseImageGeometry const& geometry) {
    std::string pixels = makePixels(geometry);
    makeValid(geometry.getBufferType(), pixels);
    vlUInt64 const planeSize = geometry.getPlanMemorySize(0);
    vlUInt64 const nbPlanes = geometry.getNbPlans();
    vlUInt64 const border =
        geometry.getSizeY() > g_nbBlackRows ? planeSize / geometry.getSizeY() * g_nbBlackRows : 0;
    for (vlUInt64 plane = 0; plane < nbPlanes; ++plane) {
        vlUInt64 const black = plane == 1 && nbPlanes > 2 ? planeSize : border;
        pixels.replace((plane + 1) * planeSize - black, black, black, '\0');
    }
    return pixels;
}

SavedImage make(std::string const& name, eImageBufferType bufferType, ColorGeometry const& color,
                vlUInt64 sizeZ = 1, vlUInt64 sizeT = 1, vlUInt64 sizeX = g_sizeX, vlUInt64 sizeY = g_sizeY) {
    auto const pGeometry = geometry(bufferType, sizeX, sizeY, makeVolume(sizeZ), color, makeTemporal(sizeT));
    return {name, pGeometry, makePlanes(*pGeometry)};
}

} // namespace

ImagePtr SavedImage::makeImage() const {
    return makeMemoryImage(*pGeometry, pixels);
}

bool SavedImage::isInterleaved() const {
    return pGeometry->getColorGeometryType() == eCGT_Rgb || pGeometry->getColorGeometryType() == eCGT_Rgba;
}

std::vector<std::string> SavedImage::getPlanes() const {
    std::vector<std::string> planes;
    vlUInt64 const sizeC = pGeometry->getSizeC();
    vlUInt64 const nbPlanes = pGeometry->getNbPlans();
    for (vlUInt64 plane = 0; plane < nbPlanes; ++plane) {
        vlUInt64 const nbPages = pGeometry->getSizeZ();
        PlanIndexes indexes = pGeometry->getPlanIndexes(plane);
        if (isInterleaved()) { // the channel runs fastest
            indexes = {plane / sizeC % nbPages, plane % sizeC, plane / sizeC / nbPages};
        }
        planes.push_back(pixels.substr(pGeometry->getPlanOffset(indexes.z, indexes.c, indexes.t),
                                       pGeometry->getPlanMemorySize(indexes.t)));
    }
    return planes;
}

std::vector<SavedImage> makeSavedImages() {
    ColorGeometry const grey = makeColor(eCGT_Grey);
    ColorGeometry const rgb = makeColor(eCGT_Rgb);
    ColorGeometry const rgba = makeColor(eCGT_Rgba);
    std::vector<SavedImage> images;
    for (unsigned int type = eIBT_Int8; type <= eIBT_Label8; ++type) {
        auto const bufferType = static_cast<eImageBufferType>(type);
        std::ostringstream name;
        name << bufferType;
        images.push_back(make(name.str(), bufferType, grey));
    }
    images.push_back(make("rgb8", eIBT_UInt8, rgb));
    images.push_back(make("rgb16", eIBT_UInt16, rgb));
    images.push_back(make("rgba8", eIBT_UInt8, rgba));
    images.push_back(make("rgba16", eIBT_UInt16, rgba));
    images.push_back(make("volume8", eIBT_UInt8, grey, 3));
    images.push_back(make("volume-float", eIBT_Real32, grey, 3));
    images.push_back(make("sequence16", eIBT_UInt16, grey, 1, 3));
    images.push_back(make("volumes16", eIBT_UInt16, grey, 2, 3));
    images.push_back(make("two-channels16", eIBT_UInt16, makeUserColor(2), 2, 2));
    images.push_back(make("lab", eIBT_Real32, makeColor(eCGT_CieLab)));
    images.push_back(make("rgb-volumes8", eIBT_UInt8, rgb, 2, 2));
    images.push_back(make("small", eIBT_UInt16, grey, 1, 1, 5, 3));
    images.push_back(make("one-pixel", eIBT_UInt8, rgb, 1, 1, 1, 1));
    return images;
}

} // namespace velmo::test
