// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <stdexcept>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffSave : public TiffFunctions {
  protected:
    /// What libtiff alone finds in the directories of the saved file.
    std::string readDirectories(std::uint16_t nbDirectories) const {
        std::string pixels;
        for (std::uint16_t directory = 0; directory < nbDirectories; ++directory) {
            pixels += readDirectoryPixels(_path, directory);
        }
        return pixels;
    }
};

std::vector<WatchedImage::Plane> listPlanes(BaseImageGeometry const& geometry) {
    std::vector<WatchedImage::Plane> planes;
    for (vlUInt64 plane = 0; plane < geometry.getNbPlans(); ++plane) {
        PlanIndexes const at = geometry.getPlanIndexes(plane);
        planes.push_back({at.z, at.c, at.t});
    }
    return planes;
}

} // namespace

// What is in the file

TEST_F(TiffSave, EveryKindOfImageSavesTheSameBytes) {
    fs::path const source = _folder / "source.tif";
    saveTiffImageFile(source, makeMemoryImage(*_pGeometry, _pixels), eTC_Lzw);
    auto const pWatched = boost::make_shared<WatchedImage>(*_pGeometry);
    ASSERT_EQ(pWatched->pixels, _pixels);
    ImageConstPtr const sources[] = {makeMemoryImage(*_pGeometry, _pixels), pWatched,
                                     makeDistributedImage(*_pGeometry, _pixels),
                                     openTiffImageFile(source, eTDM_Volume, eTBM_Default)};
    for (ImageConstPtr const& pSource : sources) {
        fs::remove(_path);
        saveTiffImageFile(_path, pSource, eTC_None);
        EXPECT_EQ(readDirectories(8), _pixels);
    }
}

TEST_F(TiffSave, AnyTextIsKeptAndNoTextLeavesNoTrace) {
    for (std::string const& text : {std::string(1000000, 'x'), std::string(" "), std::string("\n"),
                                    std::string("a text"), std::string()}) {
        ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
        pImage->setUserPropertiesStr(text);
        saveTiffImageFile(_path, pImage, eTC_None);
        EXPECT_EQ(findUserProperties(_path), text.empty() ? std::nullopt : std::optional<std::string>(text));
        EXPECT_EQ(loadTiffImageFile(_path, eTBM_Default)->getUserPropertiesStr(), text);
        EXPECT_EQ(pImage->getUserPropertiesStr(), text);
    }
}

TEST_F(TiffSave, AnImageWithoutPlanesMakesAFile) {
    for (ImageGeometryPtr const& pGeometry :
         {makeGeometry(2, 2, 0), makeGeometry(0, 1, 1), makeGeometry(1, 0, 1)}) {
        fs::remove(_path);
        auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
        EXPECT_NO_THROW(saveTiffImageFile(_path, pImage, eTC_Deflate));
        EXPECT_TRUE(pImage->reads.empty());
        EXPECT_EQ(readFile(_path).substr(0, 2), "II");
        EXPECT_EQ(countOpen(_path), 0);
    }
}

// How the image is read

TEST_F(TiffSave, EachPlaneIsReadOnceOnTheCallingThread) {
    for (ImageGeometryPtr const& pGeometry : {_pGeometry, makeColorGeometry(eCGT_Rgb, 2, 2)}) {
        auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
        saveTiffImageFile(_path, pImage, eTC_None);
        EXPECT_THAT(pImage->reads, testing::UnorderedElementsAreArray(listPlanes(*pGeometry)));
        EXPECT_EQ(pImage->readers, std::set<std::thread::id>{std::this_thread::get_id()});
    }
}

TEST_F(TiffSave, ChannelsThatShareAPageAreReadPageByPageTheOthersChannelByChannel) {
    auto const pGrey = boost::make_shared<WatchedImage>(*_pGeometry);
    saveTiffImageFile(_path, pGrey, eTC_None);
    EXPECT_EQ(pGrey->reads, listPlanes(*_pGeometry));

    auto const pRgb = boost::make_shared<WatchedImage>(*makeColorGeometry(eCGT_Rgb, 2, 1));
    saveTiffImageFile(_path, pRgb, eTC_None);
    EXPECT_EQ(pRgb->reads, (std::vector<WatchedImage::Plane>{
                               {0, 0, 0}, {0, 1, 0}, {0, 2, 0}, {1, 0, 0}, {1, 1, 0}, {1, 2, 0}}));
}

TEST_F(TiffSave, AnImageThatAsksForACopyIsSavedFromThatOneWhichGoes) {
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
    saveTiffImageFile(_path, pImage, eTC_None);
    EXPECT_EQ(pImage->nbCopies, 0);
    pImage->reads.clear();
    pImage->bRequiresCopy = true;
    pImage->setUserPropertiesStr("kept");
    saveTiffImageFile(_path, pImage, eTC_None);
    EXPECT_EQ(pImage->nbCopies, 1);
    EXPECT_TRUE(pImage->pCopy.expired());
    EXPECT_EQ(pImage->reads, listPlanes(*_pGeometry)); // by the copy
    EXPECT_EQ(readDirectories(8), _pixels);
    EXPECT_EQ(findUserProperties(_path), "kept");
}

TEST_F(TiffSave, ACopyGoesWhenTheSaveFails) {
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
    pImage->bRequiresCopy = true;
    fs::path const missing = _folder / "missing" / "image.tif";
    expectRaisedText([&] { saveTiffImageFile(missing, pImage, eTC_None); },
                     saveError(missing, createFailed(missing, "No such file or directory")));
    EXPECT_EQ(pImage->nbCopies, 1);
    EXPECT_TRUE(pImage->pCopy.expired());
}

TEST_F(TiffSave, ACopyThatFailsIsTheImageLibrarysExceptionAndNoFileIsMade) {
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
    pImage->bRequiresCopy = true;
    pImage->beforeRead = [] { return failure("no pixels"); };
    expectPassedThrough<VELMOImageException>([&] { saveTiffImageFile(_path, pImage, eTC_None); });
    EXPECT_FALSE(fs::exists(_path));
}

// What a failing source leaves

TEST_F(TiffSave, ASourceThatFailsLeavesTheFileWithThePlanesBefore) {
    for (std::size_t plane = 0; plane < 8; ++plane) {
        auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
        pImage->beforeRead = [pSeen = pImage.get(), plane] {
            return pSeen->reads.size() > plane ? failure("plane " + std::to_string(plane)) : success();
        };
        expectRaisedText([&] { saveTiffImageFile(_path, pImage, eTC_None); },
                         saveError(_path, "plane " + std::to_string(plane)));
        EXPECT_EQ(pImage->reads.size(), plane + 1);
        EXPECT_EQ(readDirectories(8), _pixels.substr(0, 30 * plane) + std::string(240 - 30 * plane, '\0'));
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(TiffSave, WhatASourceThrowsPassesThroughAndTheFileIsClosed) {
    for (ImageGeometryPtr const& pGeometry : {_pGeometry, makeColorGeometry(eCGT_Rgb, 2, 2)}) {
        auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
        pImage->beforeRead = [pSeen = pImage.get()]() -> BoolResult {
            return pSeen->reads.size() > 5 ? throw std::logic_error("of the source") : success();
        };
        expectPassedThrough<std::logic_error>([&] { saveTiffImageFile(_path, pImage, eTC_None); });
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(TiffSave, ASourceWithoutAGeometryIsRefusedByTheImageLibrary) {
    expectPassedThrough<VELMOImageException>(
        [&] { saveTiffImageFile(_path, boost::make_shared<MemoryImage>(), eTC_None); });
    EXPECT_FALSE(fs::exists(_path));
}

namespace {

using TiffSaveColors = TiffFunctions;

constexpr vlUInt64 g_nbColorPages = 65539; ///< three more than numbers of directories

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
        std::vector<WatchedImage::Plane> const planes = listPlanes(*pGeometry);
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

TEST_F(TiffSaveColors, PagesThatAreNotThereAreNeitherReadNorLoaded) {
    for (ImageGeometryPtr const& pGeometry :
         {makeColorGeometry(eCGT_Rgb, 0, 1), makeColorGeometry(eCGT_Rgba, 2, 0)}) {
        auto const pImage = boost::make_shared<WatchedImage>(*pGeometry);
        EXPECT_NO_THROW(saveTiffImageFile(_path, pImage, eTC_None));
        EXPECT_TRUE(pImage->reads.empty());
        writeClaim(_path, *pGeometry, 3); // a page that the geometry does not have
        for (Load const& load : getLoads()) {
            EXPECT_EQ(load.call(_path)->getGeometry().getNbPlans(), 0U) << load.name;
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
            char pixel = '?';
            EXPECT_TRUE(pOpened->readPixels(z, c, 0, 0, 1, &pixel));
            EXPECT_EQ(pixel, expected[c * g_nbColorPages + z]);
        }
    }
}

} // namespace velmo::test
