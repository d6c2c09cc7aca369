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

/// The planes of 2 x 2 pages, one channel after the other.
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

// The planes are read page by page, and a failure is the one that a save of one channel after the other would
// meet first.
TEST_F(TiffSaveColors, ASourceThatFailsIsTheSaveErrorOfItsFirstPlaneThatFails) {
    for (eColorGeometryType const colorType : {eCGT_Rgb, eCGT_Rgba}) {
        ImageGeometryPtr const pGeometry = makeColorGeometry(colorType, 2, 2);
        std::vector<WatchedImage::Plane> const planes = listColorPlanes(pGeometry->getSizeC());
        for (auto first = planes.begin(); first != planes.end(); ++first) {
            for (auto const last : {first + 1, planes.end()}) { // one plane fails, or all from there on
                SCOPED_TRACE(nameOfPlane(*first));
                auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
                pImage->beforeRead = [pSeen = pImage.get(), first, last] {
                    bool const bFails = std::find(first, last, pSeen->reads.back()) != last;
                    return bFails ? failure(nameOfPlane(pSeen->reads.back())) : success();
                };
                expectRaisedText([&] { saveTiffImageFile(_path, pImage, eTC_Lzw); },
                                 saveError(_path, nameOfPlane(*first)));
                EXPECT_EQ(std::set<WatchedImage::Plane>(pImage->reads.begin(), pImage->reads.end()).size(),
                          pImage->reads.size());
                EXPECT_EQ(countOpen(_path), 0);
            }
        }
    }
}

TEST_F(TiffSaveColors, PagesBeforeASourceThatFailsAreInTheFile) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgb, 2, 2);
    auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
    pImage->beforeRead = [pSeen = pImage.get()] {
        return pSeen->reads.back() == WatchedImage::Plane{1, 2, 0} ? failure("gone") : success();
    };
    expectRaisedText([&] { saveTiffImageFile(_path, pImage, eTC_Lzw); }, saveError(_path, "gone"));
    std::string expected(pImage->pixels.size(), '\0');
    vlUInt64 const planeBytes = expected.size() / 12;
    for (vlUInt64 c = 0; c < 3; ++c) { // plane z = 0 of each channel of t = 0
        expected.replace(c * 2 * planeBytes, planeBytes, pImage->pixels, c * 2 * planeBytes, planeBytes);
    }
    EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), expected);
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
