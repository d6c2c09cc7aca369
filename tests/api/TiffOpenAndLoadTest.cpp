// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/operations.hpp>
#include <thread>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffOpenAndLoad : public TiffFunctions {};

} // namespace

// What is loaded

TEST_F(TiffOpenAndLoad, EveryLoadAndTheOpenGiveThePixelsOfTheFile) {
    saveExample(eTC_None);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *_pGeometry));
        EXPECT_EQ(readPixels(*pImage), _pixels);
    }
}

TEST_F(TiffOpenAndLoad, NothingIsLoggedOnSuccess) {
    CapturedLog const log(log4cplus::Logger::getRoot());
    saveExample(eTC_Lzw);
    for (Load const& load : getLoads()) {
        load.call(_path);
    }
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffOpenAndLoad, WithoutADirectoryModeTheDirectoriesAreAVolume) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getGeometry().getSizeZ(), 3U);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Single);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
}

TEST_F(TiffOpenAndLoad, AModeThatIsNamedReachesTheFileInEveryForm) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    ImagePtr pInto;
    loadTiffImageFile(_path, eTBM_Binary, pInto);
    EXPECT_EQ(pInto->getBufferType(), eIBT_Binary);
    EXPECT_EQ(loadTiffImageFile(_path, eTBM_Binary)->getBufferType(), eIBT_Binary);
    loadTiffImageFile(_path, pInto, eTDM_Temporal, eTBM_Label);
    for (ImagePtr const& pImage : {pInto, loadTiffImageFile(_path, eTDM_Temporal, eTBM_Label),
                                   ImagePtr(openTiffImageFile(_path, eTDM_Temporal, eTBM_Label))}) {
        EXPECT_EQ(pImage->getGeometry().getSizeT(), 3U);
        EXPECT_EQ(pImage->getGeometry().getVolumeGeometryType(), eVGT_2d);
        EXPECT_EQ(pImage->getBufferType(), eIBT_Label8);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
}

TEST_F(TiffOpenAndLoad, CalibrationAndUserPropertiesReachTheImage) {
    ImagePtr const pSaved = makeMemoryImage(*_pGeometry, _pixels);
    pSaved->setGeometricCalibration(createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5));
    pSaved->setUserPropertiesStr("a text of\nthe user");
    saveTiffImageFile(_path, pSaved, eTC_Deflate);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getUserPropertiesStr(), "a text of\nthe user");
        ASSERT_TRUE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 0.25F);
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getUnit(), "um");
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getFurtherTerms()[4], 5.0F);
    }
}

TEST_F(TiffOpenAndLoad, AFileWithoutThemGivesAnImageWithoutThem) {
    saveExample(eTC_None);
    fs::path const foreign = _folder / "foreign.tif";
    writeTiff(foreign, makePages(2));
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        for (fs::path const& path : {_path, foreign}) {
            ImagePtr const pImage = load.call(path);
            EXPECT_FALSE(pImage->hasGeometricCalibration());
            EXPECT_EQ(pImage->getUserPropertiesStr(), "");
        }
    }
}

TEST_F(TiffOpenAndLoad, AForeignResolutionIsTheCalibration) {
    std::vector<Directory> pages = makePages(1);
    pages[0].tags = {{TIFFTAG_XRESOLUTION, 4.0F}, {TIFFTAG_YRESOLUTION, 2.0F}};
    writeTiff(_path, pages);
    for (Load const& load : getLoads()) {
        auto const pCalibration = load.call(_path)->getGeometricCalibrationConstPtr();
        ASSERT_TRUE(pCalibration) << load.name;
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.25F);
        EXPECT_EQ(pCalibration->getUnit(), "inch");
    }
}

TEST_F(TiffOpenAndLoad, AnImageWithoutPlanesLoadsAndHasNone) {
    struct {
        ImageGeometryPtr pGeometry;
        char const* what;
    } const cases[] = {{makeGeometry(2, 1, 0), "no time step"},
                       {makeGeometry(0, 2, 1), "no plane"},
                       {makeGeometry(2, 0, 1), "no channel"}};
    for (auto const& entry : cases) {
        SCOPED_TRACE(entry.what);
        writeClaim(_path, *entry.pGeometry);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            EXPECT_EQ(load.call(_path)->getGeometry().getNbPlans(), 0U);
        }
    }
}

TEST_F(TiffOpenAndLoad, TheLoadMakesANewImageInThePointer) {
    saveExample(eTC_None);
    ImagePtr const pFormer = makeMemoryImage(*_pGeometry, std::string(240, 'x'));
    pFormer->setUserPropertiesStr("former");
    for (bool const bWithDirectoryMode : {false, true}) {
        ImagePtr pImage = pFormer;
        bWithDirectoryMode ? loadTiffImageFile(_path, pImage, eTDM_Volume, eTBM_Default)
                           : loadTiffImageFile(_path, eTBM_Default, pImage);
        EXPECT_NE(pImage, pFormer);
        EXPECT_EQ(pImage->getUserPropertiesStr(), "");
        EXPECT_EQ(readPixels(*pImage), _pixels);
        EXPECT_EQ(readPixels(*pFormer), std::string(240, 'x'));
    }
}

// How long the file is open

TEST_F(TiffOpenAndLoad, ALoadHasClosedTheFileWhenItReturns) {
    saveExample(eTC_None);
    for (Load const& load : getLoads()) {
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(countOpen(_path), load.name == std::string("open") ? 1 : 0) << load.name;
    }
}

TEST_F(TiffOpenAndLoad, AnOpenedFileStaysOpenAsLongAsItsImageLives) {
    saveExample(eTC_None);
    DiskImagePtr pImage = openTiffImageFile(_path, eTDM_Volume, eTBM_Default);
    std::thread([&] { EXPECT_EQ(readPixels(*pImage), _pixels); }).join();
    EXPECT_EQ(countOpen(_path), 1);
    DiskImagePtr pOther = pImage;
    pImage.reset();
    EXPECT_EQ(readPixels(*pOther), _pixels);
    pOther.reset();
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(TiffOpenAndLoad, WhatIsWrittenToAnOpenedImageIsInTheFile) {
    saveExample(eTC_Lzw);
    DiskImagePtr const pImage = openTiffImageFile(_path, eTDM_Volume, eTBM_Default);
    EXPECT_EQ(static_cast<int>(pImage->getAccessor()->getAccessMode()), 1);
    std::string const later = makePixels(*_pGeometry, 2);
    writePixels(*pImage, later);
    EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), later);
    EXPECT_EQ(readPixels(*pImage), later);
}

TEST_F(TiffOpenAndLoad, AnOpenReadsNoPixels) {
    saveExample(eTC_Lzw);
    for (std::uint16_t directory = 0; directory < 8; ++directory) {
        spoilStrip(_path, directory);
    }
    std::string const bytes = readFile(_path);
    DiskImagePtr const pImage = openTiffImageFile(_path, eTDM_Volume, eTBM_Default);
    std::string plane(30, '\0');
    EXPECT_FALSE(pImage->readPixels(1, 1, 1, 0, 15, plane.data()));
    EXPECT_EQ(readFile(_path), bytes);
}

} // namespace velmo::test
