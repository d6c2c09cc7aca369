// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedColors.h"
#include "TiffFunctions.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

using TiffSaveColors = TiffFunctions;

constexpr vlUInt64 g_nbColorPages = 65539; ///< three more than numbers of directories

/// The planes of 2 x 2 pages in the order in which a save reads them.
std::vector<WatchedImage::Plane> listColorPlanes(vlUInt64 sizeC) {
    std::vector<WatchedImage::Plane> planes;
    for (vlUInt64 t = 0; t < 2; ++t) {
        for (vlUInt64 c = 0; c < sizeC; ++c) {
            for (vlUInt64 z = 0; z < 2; ++z) {
                planes.push_back({z, c, t});
            }
        }
    }
    return planes;
}

std::string nameOfPlane(WatchedImage::Plane const& plane) {
    return "no plane z=" + std::to_string(plane[0]) + ", c=" + std::to_string(plane[1]) +
           ", t=" + std::to_string(plane[2]);
}

} // namespace

TEST_F(TiffSaveColors, ASourceThatFailsIsTheSaveErrorOfItsFirstPlaneThatFails) {
    for (eColorGeometryType const colorType : {eCGT_Rgb, eCGT_Rgba}) {
        ImageGeometryPtr const pGeometry = makeColorGeometry(colorType, 2, 2);
        std::vector<WatchedImage::Plane> const planes = listColorPlanes(pGeometry->getSizeC());
        for (std::size_t failing = 0; failing < planes.size(); ++failing) {
            SCOPED_TRACE(nameOfPlane(planes[failing]));
            auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
            pImage->beforeRead = [pSeen = pImage.get(), failing] {
                return pSeen->reads.size() > failing ? failure(nameOfPlane(pSeen->reads.back())) : success();
            };
            expectRaisedText([&] { saveTiffImageFile(_path, pImage, eTC_Lzw); },
                             saveError(_path, nameOfPlane(planes[failing])));
            EXPECT_EQ(pImage->reads,
                      std::vector<WatchedImage::Plane>(
                          planes.begin(), planes.begin() + 1 + static_cast<std::ptrdiff_t>(failing)));
            EXPECT_EQ(countOpen(_path), 0);
            std::string expected = pImage->pixels;
            expected.replace(30 * failing, std::string::npos, expected.size() - 30 * failing, '\0');
            EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), expected);
        }
    }
}

TEST_F(TiffSaveColors, WhatAColorSourceThrowsPassesThroughAndTheFileIsClosed) {
    auto const pImage = boost::make_shared<WatchedImage>(*makeColorGeometry(eCGT_Rgb, 2, 2));
    pImage->beforeRead = [pSeen = pImage.get()]() -> BoolResult {
        return pSeen->reads.size() > 5 ? throw std::logic_error("of the source") : success();
    };
    expectPassedThrough<std::logic_error>([&] { saveTiffImageFile(_path, pImage, eTC_None); });
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(TiffSaveColors, PagesThatAreNotThereAreNeitherReadNorLoaded) {
    for (ImageGeometryPtr const& pGeometry :
         {makeColorGeometry(eCGT_Rgb, 0, 1), makeColorGeometry(eCGT_Rgba, 2, 0)}) {
        auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
        EXPECT_NO_THROW(saveTiffImageFile(_path, pImage, eTC_None));
        EXPECT_TRUE(pImage->reads.empty());

        std::ostringstream stream;
        BinaryOArchive archive(stream);
        archive.writeObject("pObject", pGeometry);
        Directory directory; // a page that the geometry does not have
        directory.samples = 3;
        directory.photometric = PHOTOMETRIC_RGB;
        directory.tags[TIFFTAG_SOFTWARE] = std::string("VELMO_Library");
        directory.tags[TIFFTAG_PHOTOSHOP] = stream.str();
        writeTiff(_path, {directory});
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            EXPECT_EQ(load.call(_path)->getGeometry().getNbPlans(), 0U);
        }
    }
}

// The number of a directory has 16 bits: page 65536 is written over page 0, and both are read from there.
TEST_F(TiffSaveColors, BehindPage65535ThePagesAreCountedFromZeroAgain) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, 1, 1, g_nbColorPages);
    pGeometry->getColorGeometry().initRgb();
    std::string const pixels = makePixels(*pGeometry);
    saveTiffImageFile(_path, makeMemoryImage(*pGeometry, pixels), eTC_None);

    std::string expected = pixels;
    for (vlUInt64 c = 0; c < 3; ++c) {
        vlUInt64 const channel = c * g_nbColorPages;
        expected.replace(channel, 3, pixels, channel + 65536, 3);
    }
    EXPECT_NE(expected, pixels);
    EXPECT_TRUE(readPixels(*loadTiffImageFile(_path, eTBM_Default)) == expected);
    DiskImagePtr const pOpened = openTiffImageFile(_path, eTDM_Volume, eTBM_Default);
    for (vlUInt64 c = 0; c < 3; ++c) {
        for (vlUInt64 const z : {0U, 2U, 3U, 65535U, 65536U, 65538U}) {
            EXPECT_EQ(readRun(*pOpened, z, c, 0, 0, 1), expected.substr(c * g_nbColorPages + z, 1));
        }
    }
}

} // namespace velmo::test
