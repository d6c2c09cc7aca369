// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffImageFileTools.h"
#include "Tiff/planes/TiffPlaneAccess.h"

namespace velmo::image::file {

BoolResult readTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                        BaseImageGeometry const& imageGeometry, vlUInt64 z, vlUInt64 c, vlUInt64 t,
                        vlUInt64 pixelStartOffset, vlUInt64 nbPixels, void* pPixelData) {
    return readPlane(pTiff, filePath, imageGeometry, {z, c, t, pixelStartOffset, nbPixels},
                     eTiffPolicy::Plain, pPixelData);
}

BoolResult writeTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                         BaseImageGeometry const& imageGeometry, vlUInt64 z, vlUInt64 c, vlUInt64 t,
                         vlUInt64 pixelStartOffset, vlUInt64 nbPixels, void const* pPixelData) {
    return writePlane(pTiff, filePath, imageGeometry, {z, c, t, pixelStartOffset, nbPixels},
                      eTiffPolicy::Plain, pPixelData);
}

BoolResult readRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                           BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t, vlUInt64 firstPixel,
                           vlUInt64 nbPixels, void* pPlan0, void* pPlan1, void* pPlan2, void* pPlan3) {
    std::vector<void*> planes = {pPlan0, pPlan1, pPlan2};
    if (pPlan3 != nullptr) {
        planes.push_back(pPlan3);
    }
    return readPage(pTiff, filePath, geometry, {z, 0, t, firstPixel, nbPixels}, eTiffPolicy::Plain, planes);
}

BoolResult writeRGBTiffData(TIFF* pTiff, boost::filesystem::path const& filePath,
                            BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 t, vlUInt64 firstPixel,
                            vlUInt64 nbPixels, void const* pPlan0, void const* pPlan1, void const* pPlan2,
                            void const* pPlan3) {
    std::vector<void const*> planes = {pPlan0, pPlan1, pPlan2};
    if (geometry.getSizeC() == 4) {
        planes.push_back(pPlan3);
    }
    return writePage(pTiff, filePath, geometry, {z, 0, t, firstPixel, nbPixels}, eTiffPolicy::Plain, planes);
}

} // namespace velmo::image::file
