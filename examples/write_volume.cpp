// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Writes a volume as a TIFF file, with the physical size of a pixel and a text of the application.

#include "Example.h"

#include <boost/make_shared.hpp>
#include <numeric>

using namespace velmo;
using namespace velmo::image;

// [fill an image]
ImagePtr makeRamp() {
    ImagePtr pImage;
    BoolResult const created =
        ImageFactory::getInstance().createDefaultImage(*geometry3d(eIBT_UInt16, 64, 48, 8), pImage);
    if (!created) {
        throw std::runtime_error(created.getMessage());
    }
    for (vlUInt64 z = 0; z < 8; ++z) {
        PlaneView<std::uint16_t> const plane = viewPlane<std::uint16_t>(pImage, {z, 0, 0});
        std::iota(plane.begin(), plane.end(), std::uint16_t{0}); // or plane.at(x, y) = ...
    }
    return pImage;
}
// [fill an image]

void writeVolume() {
    ImagePtr const pImage = makeRamp();
    // [write a volume]
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    // A pixel is 0.25 x 0.25 x 1.5 um. The zeros are further terms, which the library only stores.
    pCalibration->init3d(0.25F, 0.25F, 1.5F, "um", 0, 0, 0, 0, 0, 0, 0);
    pImage->setGeometricCalibration(pCalibration);
    pImage->setUserPropertiesStr("stain=DAPI;operator=Ada");
    file::saveTiffImageFile("cells.tif", pImage, file::TiffWriteOptions{file::eTC_Deflate});
    // [write a volume]

    ImagePtr const again = file::loadTiffImageFile("cells.tif");
    require(again->getUserPropertiesStr() == "stain=DAPI;operator=Ada", "user properties come back");
    require(again->getGeometricCalibrationConstPtr()->getPixelSizeZ() == 1.5F, "the calibration comes back");
    require(haveSamePixels(again->getGeometry(), pImage->getGeometry()), "the sizes come back");
}

int main() {
    return runExample(writeVolume);
}
