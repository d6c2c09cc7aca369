// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffDistributedFixture.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

/// `nbPages` of colours side by side, and their channels one after the other over all pages.
std::vector<Directory> makeColorPages(std::uint16_t samples, std::size_t nbPages, std::string& channels) {
    std::vector<Directory> pages(nbPages);
    for (std::size_t page = 0; page < nbPages; ++page) {
        pages[page].samples = samples;
        pages[page].photometric = PHOTOMETRIC_RGB;
        pages[page].pixels =
            countingBytes(pages[page].countBytes(), static_cast<unsigned int>(1 + 90 * page));
    }
    for (std::size_t channel = 0; channel < samples; ++channel) {
        for (Directory const& page : pages) {
            for (std::size_t at = channel; at < page.pixels.size(); at += samples) {
                channels += page.pixels[at];
            }
        }
    }
    return pages;
}

} // namespace

// Dispatch

TEST_F(TiffDistributedLoad, WithTheDefaultDispatchTheWorkersRead) {
    for (Form const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(_path, true);
        EXPECT_EQ(_pRecord->nbFills, 8);
        EXPECT_EQ(_pRecord->nbWrites, 0);
        EXPECT_EQ(readPixels(*pImage), _pixels);
    }
}

TEST_F(TiffDistributedLoad, WithTheDefaultDispatchTheWorkersReadAtOnce) {
    _pRecord->nbToMeet = 2;
    for (Form const& load : getForms()) {
        _pRecord->fillers.clear();
        EXPECT_EQ(readPixels(*load(_path, true)), _pixels);
        EXPECT_EQ(_pRecord->fillers.size(), 2U);
    }
}

TEST_F(TiffDistributedLoad, WithoutItTheCallingThreadReadsAlone) {
    for (Form const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(_path, false);
        EXPECT_EQ(_pRecord->nbFills, 0);
        EXPECT_EQ(_pRecord->nbWrites, 8);
        EXPECT_EQ(_pRecord->writers, std::set<std::thread::id>{std::this_thread::get_id()});
        EXPECT_EQ(readPixels(*pImage), _pixels);
    }
}

// What is loaded

TEST_F(TiffDistributedLoad, AFileOfThisModuleLoadsInAnyCompressionAndLogsNothing) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        saveExample(compression);
        CapturedLog const log(log4cplus::Logger::getRoot());
        std::string const bytes = readFile(_path);
        forEachLoad(getForms(), [&](DistributedImagePtr const& pImage) {
            EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *_pGeometry));
            EXPECT_EQ(readPixels(*pImage), _pixels);
        });
        EXPECT_TRUE(log.getRecords().empty());
        EXPECT_EQ(readFile(_path), bytes);
    }
}

TEST_F(TiffDistributedLoad, TheDirectoryModeMakesAVolumeOrASequence) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    for (bool const defaultDispatch : {false, true}) {
        auto const pVolume = loadDistributedTiffImageFile(_path, eTDM_Volume, eTBM_Default, defaultDispatch);
        EXPECT_EQ(describeGeometry(pVolume->getGeometry()), "x=4 y=3 z=3 c=1 t=1 eIBT_UInt8");
        EXPECT_EQ(pVolume->getTemporalGeometryType(), eTGT_Single);
        EXPECT_EQ(readPixels(*pVolume), pixelsOf(pages));
        auto const pSteps = loadDistributedTiffImageFile(_path, eTDM_Temporal, eTBM_Default, defaultDispatch);
        EXPECT_EQ(describeGeometry(pSteps->getGeometry()), "x=4 y=3 z=1 c=1 t=3 eIBT_UInt8");
        EXPECT_EQ(pSteps->getTemporalGeometryType(), eTGT_Sequence);
        EXPECT_EQ(readPixels(*pSteps), pixelsOf(pages));
    }
}

TEST_F(TiffDistributedLoad, AModelThatIsASequenceReadsDirectoriesAsTimeStepsAndAnyOtherAsAVolume) {
    std::vector<Directory> const pages = makePages(3);
    writeTiff(_path, pages);
    for (bool const bSequence : {false, true}) {
        auto const pModel = makeModel(*makeModelGeometry(3, bSequence));
        for (bool const defaultDispatch : {false, true}) {
            auto const pImage = loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, defaultDispatch);
            EXPECT_EQ(describeGeometry(pImage->getGeometry()),
                      bSequence ? "x=4 y=3 z=1 c=1 t=3 eIBT_UInt8" : "x=4 y=3 z=3 c=1 t=1 eIBT_UInt8");
            EXPECT_EQ(pImage->getTemporalGeometryType(), bSequence ? eTGT_Sequence : eTGT_Single);
            EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
        }
    }
}

TEST_F(TiffDistributedLoad, AModelThatIsASequenceOfOneStepIsOneAsWell) {
    std::vector<Directory> const pages = makePages(1);
    writeTiff(_path, pages);
    auto const pModel = makeModel(*makeModelGeometry(1, true));
    auto const pImage = loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, false);
    EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
    EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
}

TEST_F(TiffDistributedLoad, TheBufferModeReachesTheFileInBothForms) {
    writeTiff(_path, makePages(1));
    auto const pModel = makeModel(*makeModelGeometry(1, false));
    struct {
        eTiffBufferMode mode;
        eImageBufferType bufferType;
    } const cases[] = {{eTBM_Default, eIBT_UInt8}, {eTBM_Label, eIBT_Label8}, {eTBM_Binary, eIBT_Binary}};
    for (auto const& entry : cases) {
        for (bool const b : {false, true}) {
            EXPECT_EQ(loadDistributedTiffImageFile(_path, eTDM_Volume, entry.mode, b)->getBufferType(),
                      entry.bufferType);
            EXPECT_EQ(loadDistributedTiffImageFile(_path, *pModel, entry.mode, b)->getBufferType(),
                      entry.bufferType);
        }
    }
}

TEST_F(TiffDistributedLoad, AOneBitFileLoadsAsOneByteForEachPixel) {
    Directory page;
    page.sizeX = 9;
    page.sizeY = 2;
    page.bits = 1;
    page.pixels = std::string("\xA5\x80\x00\x00", 4);
    writeTiff(_path, {page});
    std::string const expected("\1\0\1\0\0\1\0\1\1\0\0\0\0\0\0\0\0\0", 18);
    auto const pModel = makeModel(*geometry3d(eIBT_UInt16, 9, 2, 1));
    std::string const loaded = readPixels(*loadTiffImageFile(_path, eTBM_Default));
    forEachLoad(getForms(eTDM_Volume, *pModel), [&](DistributedImagePtr const& pImage) {
        EXPECT_EQ(pImage->getBufferType(), eIBT_Binary);
        EXPECT_EQ(readPixels(*pImage), loaded);
        std::string const pixels = readPixels(*pImage);
        for (std::size_t at = 0; at < expected.size(); ++at) {
            EXPECT_EQ(pixels[at] != 0, expected[at] != 0) << at;
        }
    });
}

TEST_F(TiffDistributedLoad, ColoursSideBySideBecomeChannels) {
    for (std::uint16_t const samples : {std::uint16_t{3}, std::uint16_t{4}}) {
        std::string channels;
        writeTiff(_path, makeColorPages(samples, 2, channels));
        VolumeGeometry volume;
        volume.init3d(2);
        ColorGeometry color;
        color.initUser(samples);
        auto const pModel = makeModel(*geometry(eIBT_UInt16, 4, 3, volume, color, TemporalGeometry()));
        forEachLoad(getForms(eTDM_Volume, *pModel), [&](DistributedImagePtr const& pImage) {
            EXPECT_EQ(pImage->getGeometry().getSizeC(), samples);
            EXPECT_EQ(readPixels(*pImage), channels);
        });
    }
}

TEST_F(TiffDistributedLoad, AnImageJStackInOneDirectoryLoadsAsAllItsPlanes) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53\nimages=3\n"));
    directory.pixels = countingBytes(36);
    writeRawTiff(_path, {directory});
    auto const pModel = makeModel(*makeModelGeometry(3, false));
    forEachLoad(getForms(eTDM_Volume, *pModel), [&](DistributedImagePtr const& pImage) {
        EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=4 y=3 z=3 c=1 t=1 eIBT_UInt8");
        EXPECT_EQ(readPixels(*pImage), countingBytes(36));
    });
}

TEST_F(TiffDistributedLoad, EachStepOfAHeterogeneousSequenceHasItsOwnTypeByDirectoryMode) {
    std::vector<Directory> pages = makePages(2);
    pages[1].bits = 16;
    pages[1].pixels = countingBytes(24, 90);
    writeTiff(_path, pages);
    for (bool const defaultDispatch : {false, true}) {
        auto const pImage = loadDistributedTiffImageFile(_path, eTDM_Temporal, eTBM_Default, defaultDispatch);
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(0).getBufferType(), eIBT_UInt8);
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(1).getBufferType(), eIBT_UInt16);
        EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
    }
}

// Calibration and user properties

TEST_F(TiffDistributedLoad, CalibrationAndUserPropertiesOfTheFileReachTheImage) {
    ImagePtr const pSaved = makeMemoryImage(*_pGeometry, _pixels);
    pSaved->setGeometricCalibration(createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5));
    pSaved->setUserPropertiesStr("a text of\nthe user");
    saveTiffImageFile(_path, pSaved, eTC_Deflate);
    forEachLoad(getForms(), [](DistributedImagePtr const& pImage) {
        EXPECT_EQ(pImage->getUserPropertiesStr(), "a text of\nthe user");
        ASSERT_TRUE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeY(), 0.25F);
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getUnit(), "um");
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getFurtherTerms()[4], 5.0F);
    });
}

TEST_F(TiffDistributedLoad, AForeignResolutionIsTheCalibration) {
    std::vector<Directory> pages = makePages(1);
    pages[0].tags = {{TIFFTAG_XRESOLUTION, 4.0F}, {TIFFTAG_YRESOLUTION, 2.0F}};
    writeTiff(_path, pages);
    auto const pModel = makeModel(*makeModelGeometry(1, false));
    forEachLoad(getForms(eTDM_Volume, *pModel), [](DistributedImagePtr const& pImage) {
        ASSERT_TRUE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getGeometricCalibrationConstPtr()->getPixelSizeX(), 0.25F);
    });
}

TEST_F(TiffDistributedLoad, AFileWithoutThemGivesAnImageWithoutThemWhateverTheModelHas) {
    _pModel->setGeometricCalibration(boost::make_shared<GeometricCalibration>());
    _pModel->setUserPropertiesStr("of the model");
    forEachLoad(getForms(), [](DistributedImagePtr const& pImage) {
        EXPECT_FALSE(pImage->hasGeometricCalibration());
        EXPECT_EQ(pImage->getUserPropertiesStr(), "");
    });
    EXPECT_TRUE(_pModel->hasGeometricCalibration());
    EXPECT_EQ(_pModel->getUserPropertiesStr(), "of the model");
}

// The model

TEST_F(TiffDistributedLoad, TheModelGivesAllButTheBufferTypeAndStaysAsItWas) {
    VolumeGeometry volume;
    volume.init3d(2);
    ColorGeometry color;
    color.init(eCGT_Rgb);
    ImageGeometryPtr const pGeometry = geometry(eIBT_UInt8, 5, 3, volume, color, TemporalGeometry());
    auto const pModel = makeModel(*pGeometry);
    ImageGeometryPtr const pStored = duplicateGeometry(*pGeometry);
    pStored->setBufferType(eIBT_Label16);
    pStored->getColorGeometry().init(eCGT_HSV);
    std::string const pixels = makePixels(*pStored);
    saveTiffImageFile(_path, makeMemoryImage(*pStored, pixels), eTC_None);
    for (bool const defaultDispatch : {false, true}) {
        auto const pImage = loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, defaultDispatch);
        EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), eCGT_Rgb);
        EXPECT_EQ(pImage->getBufferType(), eIBT_Label16);
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
    EXPECT_EQ(readPixels(*pModel), std::string(90, 'm'));
    EXPECT_EQ(pModel->getBufferType(), eIBT_UInt8);
}

TEST_F(TiffDistributedLoad, AHeterogeneousModelLosesItsOtherTypes) {
    auto const pModel = makeModel(*makeHeterogeneous());
    ImageGeometryPtr const pStored =
        geometry(eIBT_Int16, 5, 2, pModel->getGeometry().getVolumeGeometry(),
                 pModel->getGeometry().getColorGeometry(), pModel->getGeometry().getTemporalGeometry());
    std::string const pixels = makePixels(*pStored);
    saveTiffImageFile(_path, makeMemoryImage(*pStored, pixels), eTC_None);
    for (bool const defaultDispatch : {false, true}) {
        auto const pImage = loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, defaultDispatch);
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(1).getBufferType(), eIBT_Int16);
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
}

// As any image

TEST_F(TiffDistributedLoad, ACpuCopyGathersThePlanesOfAllWorkers) {
    forEachLoad(getForms(), [&](DistributedImagePtr const& pImage) {
        EXPECT_TRUE(pImage->requiresCpuCopy());
        EXPECT_EQ(pImage->accessPlan(0, 0, 0), nullptr);
        ImageConstPtr const pCopy = pImage->createCpuCopy();
        EXPECT_FALSE(pCopy->requiresCpuCopy());
        EXPECT_TRUE(haveSamePixels(pCopy->getGeometry(), pImage->getGeometry()));
        EXPECT_EQ(readPixels(*pCopy), _pixels);
    });
}

TEST_F(TiffDistributedLoad, WhatIsLoadedIsSavedAsTiffAndAsRawAndLoadsAgain) {
    ImagePtr const pSaved = makeMemoryImage(*_pGeometry, _pixels);
    pSaved->setGeometricCalibration(createGeometricCalibration2d(0.5F, 0.25F, "um", 1, 2, 3, 4, 5));
    pSaved->setUserPropertiesStr("kept");
    saveTiffImageFile(_path, pSaved, eTC_None);
    forEachLoad(getForms(), [&](DistributedImagePtr const& pImage) {
        saveTiffImageFile(_folder / "again.tif", pImage, eTC_Lzw);
        ImagePtr const pAgain = loadTiffImageFile(_folder / "again.tif", eTBM_Default);
        EXPECT_TRUE(haveSamePixels(pAgain->getGeometry(), *_pGeometry));
        EXPECT_EQ(readPixels(*pAgain), _pixels);
        EXPECT_EQ(pAgain->getUserPropertiesStr(), "kept");
        ASSERT_TRUE(pAgain->hasGeometricCalibration());
        EXPECT_EQ(pAgain->getGeometricCalibrationConstPtr()->getUnit(), "um");
        saveRawImageFile(_folder / "again.raw", pImage, "head");
        EXPECT_EQ(readFile(_folder / "again.raw"), "head" + _pixels);
    });
}

TEST_F(TiffDistributedLoad, ManyLoadsOfOneFileRunAtOnce) {
    onThreads(8, [&](unsigned int thread) {
        for (int round = 0; round < 5; ++round) {
            EXPECT_EQ(readPixels(*getForms()[thread % 2](_path, thread % 4 < 2)), _pixels);
        }
    });
}

// Calls with options

TEST_F(TiffDistributedLoad, WithOptionsWorkersReadUnderThePolicyOfTheCaller) {
    RawDirectory stack = greyDirectory(4, 3, 16);
    stack.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53t\nimages=5\n"));
    stack.pixels = countingBytes(120);
    fs::path const path = _folder / "stack.tif";
    writeRawTiff(path, {stack}, {false, true});
    std::string const stored = readFile(path).substr(fs::file_size(path) - 120);
    std::string native;
    for (std::size_t byte = 0; byte < stored.size(); byte += 2) {
        native += {stored[byte + 1], stored[byte]};
    }
    for (bool const bDefaultDispatch : {true, false}) {
        EXPECT_EQ(readPixels(*loadDistributedTiffImageFile(path, TiffReadOptions{}, bDefaultDispatch)),
                  native);
        EXPECT_EQ(
            readPixels(*loadDistributedTiffImageFile(path, eTDM_Volume, eTBM_Default, bDefaultDispatch)),
            stored);
    }
    fs::resize_file(path, fs::file_size(path) - 24);
    for (bool const bDefaultDispatch : {true, false}) {
        EXPECT_THROW(loadDistributedTiffImageFile(path, TiffReadOptions{}, bDefaultDispatch),
                     VELMOImageFileException);
        TiffReadOptions const tolerant = {eTDM_Volume, eTBM_Default, true};
        EXPECT_EQ(readPixels(*loadDistributedTiffImageFile(path, tolerant, bDefaultDispatch)),
                  native.substr(0, 96) + std::string(24, '\0'));
    }
}

} // namespace velmo::test
