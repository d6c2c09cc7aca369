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

std::uint16_t getCompression(fs::path const& path) {
    std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
    std::uint16_t compression = 0;
    TIFFGetField(pTiff.get(), TIFFTAG_COMPRESSION, &compression);
    return compression;
}

} // namespace

// What is in the file

TEST_F(TiffSave, ASavedFileHasADirectoryForEachPlaneInOrder) {
    saveExample(eTC_None);
    EXPECT_EQ(readDirectories(8), _pixels);
    EXPECT_EQ(countOpen(_path), 0);
}

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

TEST_F(TiffSave, TheCompressionIsThatOfEachDirectory) {
    struct {
        eTiffCompression compression;
        std::uint16_t tag;
    } const cases[] = {
        {eTC_None, COMPRESSION_NONE}, {eTC_Lzw, COMPRESSION_LZW}, {eTC_Deflate, COMPRESSION_DEFLATE}};
    for (auto const& entry : cases) {
        saveExample(entry.compression);
        EXPECT_EQ(getCompression(_path), entry.tag);
        EXPECT_EQ(readDirectories(8), _pixels);
    }
}

TEST_F(TiffSave, TheColoursOfAPixelStandSideBySide) {
    for (eColorGeometryType const color : {eCGT_Rgb, eCGT_Rgba}) {
        auto const pGeometry = makeColorGeometry(color, 1, 1);
        std::string const pixels = makePixels(*pGeometry);
        saveTiffImageFile(_path, makeMemoryImage(*pGeometry, pixels), eTC_Lzw);
        std::string expected;
        for (std::size_t pixel = 0; pixel < 15; ++pixel) {
            for (std::size_t channel = 0; channel < pGeometry->getSizeC(); ++channel) {
                expected += pixels.substr(30 * channel + 2 * pixel, 2);
            }
        }
        EXPECT_EQ(readDirectories(1), expected);
        EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), pixels);
    }
}

TEST_F(TiffSave, EachStepOfAHeterogeneousSequenceIsWrittenWithItsOwnType) {
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    TemporalGeometry temporal;
    temporal.initSequence(3);
    pGeometry->init(VolumeGeometry(), ColorGeometry(), temporal, 5, 3,
                    {eIBT_UInt8, eIBT_Real32, eIBT_Label16});
    std::string const pixels = makePixels(*pGeometry);
    saveTiffImageFile(_path, makeMemoryImage(*pGeometry, pixels), eTC_None);
    EXPECT_EQ(readDirectories(3), pixels);
    ImagePtr const pLoaded = loadTiffImageFile(_path, eTBM_Default);
    EXPECT_TRUE(haveSamePixels(pLoaded->getGeometry(), *pGeometry));
    EXPECT_EQ(readPixels(*pLoaded), pixels);
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

TEST_F(TiffSave, ASaveReplacesALongerFile) {
    writeFile(_path, makeBytes(100000, 7));
    saveExample(eTC_None);
    EXPECT_LT(fs::file_size(_path), 10000U);
    EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), _pixels);
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

TEST_F(TiffSave, AnImageThatAsksForNoCopyIsSavedWithoutOne) {
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
    saveTiffImageFile(_path, pImage, eTC_None);
    EXPECT_EQ(pImage->nbCopies, 0);
}

TEST_F(TiffSave, AnImageThatAsksForACopyIsSavedFromThatOneWhichGoes) {
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
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

TEST_F(TiffSave, NothingIsLoggedOnSuccess) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    saveExample(eTC_Deflate);
    EXPECT_TRUE(log.getRecords().empty());
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
    auto const pImage = boost::make_shared<WatchedImage>(*_pGeometry);
    pImage->beforeRead = []() -> BoolResult { throw std::logic_error("of the source"); };
    expectPassedThrough<std::logic_error>([&] { saveTiffImageFile(_path, pImage, eTC_None); });
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(TiffSave, ASourceWithoutAGeometryIsRefusedByTheImageLibrary) {
    expectPassedThrough<VELMOImageException>(
        [&] { saveTiffImageFile(_path, boost::make_shared<MemoryImage>(), eTC_None); });
    EXPECT_FALSE(fs::exists(_path));
}

} // namespace velmo::test
