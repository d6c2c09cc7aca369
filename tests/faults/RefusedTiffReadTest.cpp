// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "Tiff/TiffImageFileTools.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <gtest/gtest.h>
#include <tiffio.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

/// A file of another program with three directories that do not fit into one read.
void writeForeignFile(boost::filesystem::path const& path) {
    TIFF* const pTiff = TIFFOpen(path.c_str(), "w");
    for (unsigned int page = 0; page < 3; ++page) {
        std::vector<unsigned char> pixels(64 * 300, static_cast<unsigned char>(page));
        TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, 64);
        TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, 300);
        TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, 300);
        TIFFWriteEncodedStrip(pTiff, 0, pixels.data(), 64 * 300);
        TIFFWriteDirectory(pTiff);
    }
    TIFFClose(pTiff);
}

} // namespace

TEST(RefusedTiffRead, AFailureAtTheEndOfAnOpeningLeavesNoGeometry) {
    TemporaryFolder const folder;
    boost::filesystem::path const path = folder / "image.tif";
    writeForeignFile(path);
    std::string const outcome = inChild([&]() -> std::string {
        unsigned int nbFailures = 0;
        bool bEnded = false;
        for (long read = 1; !bEnded && read < 100; ++read) {
            TIFF* pTiff = nullptr;
            ImageGeometryPtr pGeometry = geometry3d(eIBT_UInt8, 1, 1, 1);
            GeometricCalibrationPtr pCalibration;
            velmoArmFaults(eFC_Read, read, eFM_FailOnce);
            BoolResult const result = openTiffFile(path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, pTiff,
                                                   pGeometry, pCalibration, nullptr);
            bEnded = velmoDisarmFaults() < read;
            if (!result && (pTiff != nullptr || pGeometry || pCalibration)) {
                return "read " + std::to_string(read) + " leaves something: " + result.getMessage();
            }
            if (result && (!pGeometry || pGeometry->getSizeZ() != 3)) {
                return "read " + std::to_string(read) + " gives another geometry";
            }
            nbFailures += result ? 0 : 1;
            if (pTiff != nullptr) {
                TIFFClose(pTiff);
            }
        }
        return nbFailures >= 2 ? "sound" : "only " + std::to_string(nbFailures) + " failures";
    });
    EXPECT_EQ(outcome, "sound");
}

} // namespace velmo::test
