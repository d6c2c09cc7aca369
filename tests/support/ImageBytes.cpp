// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImageBytes.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

namespace velmo::test {

using namespace image;

namespace {

/// Calls `visit` with each plane's indexes and bytes, in the order of a raw file.
template <class Visit>
void forEachPlane(BaseImageGeometry const& geometry, Visit const& visit) {
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        ImagePlanGeometry const plane = geometry.getPlanGeometry(t);
        vlUInt64 const nbBytes = plane.getNbPixels() * getImageBufferBaseSize(plane.getBufferType());
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                visit(z, c, t, plane.getNbPixels(), nbBytes);
            }
        }
    }
}

} // namespace

std::string makeBytes(vlUInt64 nbBytes, unsigned int seed) {
    std::string bytes;
    unsigned int state = seed * 2654435761U + 1;
    for (vlUInt64 i = 0; i < nbBytes; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

std::string makePixels(BaseImageGeometry const& geometry, unsigned int seed) {
    vlUInt64 nbBytes = 0;
    forEachPlane(geometry, [&](vlUInt64, vlUInt64, vlUInt64, vlUInt64, vlUInt64 size) { nbBytes += size; });
    return makeBytes(nbBytes, seed);
}

std::string readPixels(BaseImage const& image) {
    std::string pixels;
    forEachPlane(image.getGeometry(),
                 [&](vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 nbPixels, vlUInt64 nbBytes) {
                     std::string plane(nbBytes, '\0');
                     BoolResult const result = image.readPixels(z, c, t, 0, nbPixels, plane.data());
                     EXPECT_TRUE(result) << result.getMessage();
                     pixels += plane;
                 });
    return pixels;
}

void writePixels(BaseImage& image, std::string const& pixels) {
    vlUInt64 offset = 0;
    forEachPlane(image.getGeometry(),
                 [&](vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 nbPixels, vlUInt64 nbBytes) {
                     std::string const plane = pixels.substr(offset, nbBytes);
                     BoolResult const result = image.writePixels(z, c, t, 0, nbPixels, plane.data());
                     EXPECT_TRUE(result) << result.getMessage();
                     offset += nbBytes;
                 });
    EXPECT_EQ(offset, pixels.size());
}

ImagePtr makeMemoryImage(BaseImageGeometry const& geometry, std::string const& pixels) {
    ImagePtr pImage;
    EXPECT_TRUE(ImageFactory::getInstance().createDefaultImage(geometry, pImage));
    writePixels(*pImage, pixels);
    return pImage;
}

DistributedImagePtr makeDistributedImage(BaseImageGeometry const& geometry, std::string const& pixels) {
    DistributedImagePtr pImage;
    EXPECT_TRUE(ImageFactory::getInstance().createDistributedImage(geometry, pImage));
    writePixels(*pImage, pixels);
    return pImage;
}

ImageGeometryPtr makeSequence(eImageBufferType bufferType) {
    VolumeGeometry volume;
    volume.init3d(2);
    TemporalGeometry temporal;
    temporal.initSequence(2);
    return geometry(bufferType, 4, 3, volume, ColorGeometry(), temporal);
}

ImageGeometryPtr makeHeterogeneous() {
    VolumeGeometry volume;
    volume.init3d(2);
    ColorGeometry color;
    color.initRgb();
    TemporalGeometry temporal;
    temporal.initSequence(3);
    auto pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, color, temporal, 5, 2, {eIBT_UInt8, eIBT_Real32, eIBT_Label16});
    return pGeometry;
}

HookedImage::HookedImage(BaseImageGeometry const& geometry)
    : _pPixels(makeMemoryImage(geometry, std::string(geometry.getFullMemorySize(), '\0'))) {
    setGeometry(geometry);
}

BoolResult HookedImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                          vlUInt64 nbPixels, void* buffer) const {
    BoolResult const result = _readHook ? _readHook(_nbReads++) : success();
    return result ? _pPixels->readPixels(z, c, t, pixelStart, nbPixels, buffer) : result;
}

BoolResult HookedImage::writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                           vlUInt64 nbPixels, void const* buffer) {
    BoolResult const result = _writeHook ? _writeHook(_nbWrites++) : success();
    return result ? _pPixels->writePixels(z, c, t, pixelStart, nbPixels, buffer) : result;
}

HookedImage::Hook failAt(int access, std::string const& text) {
    return [access, text](int current) { return current == access ? failure(text) : success(); };
}

} // namespace velmo::test
