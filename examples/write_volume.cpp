// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Writes a volume as a TIFF file, with what a pixel measures and a text of the application.

#include "Example.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/make_shared.hpp>

using namespace velmo;
using namespace velmo::image;

// [fill an image]
ImagePtr makeRamp() {
    ImagePtr pImage;
    BoolResult const created =
        ImageFactory::getInstance().createDefaultImage(*geometry3d(eIBT_UInt16, 64, 48, 8), pImage);
    require(bool(created), created.getMessage());
    for (vlUInt64 z = 0; z < 8; ++z) {
        // An image in memory hands out its planes: rows from first to last, without padding.
        auto* const pPlane = static_cast<std::uint16_t*>(pImage->accessPlan(z, 0, 0));
        for (vlUInt64 i = 0; i < 64 * 48; ++i) {
            pPlane[i] = pixelOf(z, i);
        }
    }
    return pImage;
}
// [fill an image]

void writeVolume() {
    ImagePtr const pImage = makeRamp();
    // [write a volume]
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(0.25F, 0.25F, 1.5F, "um", 0, 0, 0, 0, 0, 0, 0); // a pixel is 0.25 x 0.25 x 1.5 um
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
