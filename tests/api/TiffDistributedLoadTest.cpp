// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffDistributedFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

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

TEST_F(TiffDistributedLoad, TheDirectoryModeOrTheModelMakesAVolumeOrASequence) {
    for (std::size_t const nbPages : {1U, 3U}) {
        std::vector<Directory> const pages = makePages(nbPages);
        writeTiff(_path, pages);
        for (bool const bSequence : {false, true}) {
            auto const pModel = makeModel(*makeModelGeometry(nbPages, bSequence));
            auto const forms = getForms(bSequence ? eTDM_Temporal : eTDM_Volume, *pModel);
            forEachLoad(forms, [&](DistributedImagePtr const& pImage) {
                EXPECT_EQ(pImage->getGeometry().getSizeZ(), bSequence ? 1 : nbPages);
                EXPECT_EQ(pImage->getGeometry().getSizeT(), bSequence ? nbPages : 1);
                EXPECT_EQ(readPixels(*pImage), pixelsOf(pages));
            });
            EXPECT_EQ(forms[1](_path, false)->getTemporalGeometryType(),
                      bSequence ? eTGT_Sequence : eTGT_Single);
        }
    }
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

// A load of an image in memory fails there.
TEST_F(TiffDistributedLoad, ColoursSideBySideBecomeChannelsWithAStripThatCannotBeDecodedInBlack) {
    auto const pGeometry = makeColorGeometry(eCGT_Rgb, 2, 1);
    std::string pixels = makePixels(*pGeometry);
    saveTiffImageFile(_path, makeMemoryImage(*pGeometry, pixels), eTC_Lzw);
    spoilStrip(_path, 1);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        pixels.replace(60 * channel + 30, 30, 30, '\0');
    }
    auto const pModel = makeModel(*pGeometry);
    forEachLoad(getForms(eTDM_Volume, *pModel),
                [&](DistributedImagePtr const& pImage) { EXPECT_EQ(readPixels(*pImage), pixels); });
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
    forEachLoad(getForms(), [&](DistributedImagePtr const& pImage) {
        saveTiffImageFile(_folder / "again.tif", pImage, eTC_Lzw);
        EXPECT_EQ(readPixels(*loadTiffImageFile(_folder / "again.tif", eTBM_Default)), _pixels);
        saveRawImageFile(_folder / "again.raw", pImage, "head");
        EXPECT_EQ(readFile(_folder / "again.raw"), "head" + _pixels);
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

// Models that do not fit

TEST_F(TiffDistributedLoad, AFileThatDoesNotFitTheModelIsTheProcessorsException) {
    ImageGeometryPtr const models[] = {makeModelGeometry(2, false), makeModelGeometry(4, false),
                                       makeModelGeometry(2, true), geometry3d(eIBT_UInt8, 5, 3, 3),
                                       geometry3d(eIBT_UInt8, 4, 2, 3)};
    writeTiff(_path, makePages(3));
    for (ImageGeometryPtr const& pGeometry : models) {
        SCOPED_TRACE(describeGeometry(*pGeometry));
        auto const pModel = makeModel(*pGeometry);
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectPassedThrough<processor::VELMOBaseProcessingException>(
                [&] { loadDistributedTiffImageFile(_path, *pModel, eTBM_Default, defaultDispatch); });
            EXPECT_GT(_pRecord->nbAdded, 0); // the image is made before
            EXPECT_EQ(_pRecord->nbDropped, _pRecord->nbAdded);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

// Steps that fail

TEST_F(TiffDistributedLoad, AMissingFileIsTheLoadErrorBeforeTheWorkersAreAsked) {
    fs::path const missing = _folder / "missing.tif";
    forEachCall([&](Form const& load, bool defaultDispatch) {
        resetCounts();
        expectRaisedText([&] { load(missing, defaultDispatch); },
                         loadError(missing, openFailed(missing, "No such file or directory")));
        EXPECT_EQ(_pRecord->nbAdded, 0);
    });
}

TEST_F(TiffDistributedLoad, AStripThatCannotBeDecodedIsTheLoadErrorUnderEachDispatch) {
    spoilStrip(_path, 0);
    forEachCall([&](Form const& load, bool defaultDispatch) {
        resetCounts();
        expectRaisedBeginning([&] { load(_path, defaultDispatch); }, loadError(_path, "Failed to read "));
        EXPECT_EQ(_pRecord->nbDropped, 8);
        EXPECT_EQ(countOpen(_path), 0);
    });
}

TEST_F(TiffDistributedLoad, AWorkerWithoutRoomIsAFailedCreation) {
    _pRecord->addFailure = "no room";
    forEachCall([&](Form const& load, bool defaultDispatch) {
        resetCounts();
        expectRaisedText([&] { load(_path, defaultDispatch); },
                         "Failed to create distributed image\nno room");
        EXPECT_EQ(_pRecord->nbDropped, 1);
        EXPECT_EQ(countOpen(_path), 0);
    });
}

TEST_F(TiffDistributedLoad, AnEngineWithoutWorkersIsAFailedCreation) {
    ReplacedEngine const empty(createThreadDistributionEngine(0));
    for (Form const& load : getForms()) {
        expectRaisedText([&] { load(_path, true); },
                         "Failed to create distributed image\nA distributed image needs a worker");
    }
}

TEST_F(TiffDistributedLoad, AWorkersFailureIsTheLoadError) {
    _pRecord->fillFailure = "the worker has lost its network";
    _pRecord->writeFailure = "the worker refuses";
    for (Form const& load : getForms()) {
        resetCounts();
        expectRaisedText([&] { load(_path, true); }, loadError(_path, "the worker has lost its network"));
        expectRaisedText([&] { load(_path, false); }, loadError(_path, "the worker refuses"));
        EXPECT_EQ(_pRecord->nbDropped, 16);
        EXPECT_EQ(countOpen(_path), 0);
    }
}

#if !defined(__clang__)
TEST_F(TiffDistributedLoad, ARaiseNamesThePublicFunctionInFull) {
    std::string const start =
        "velmo::image::DistributedImagePtr velmo::image::file::loadDistributedTiffImageFile(const "
        "boost::filesystem::path&, const ";
    std::string const functions[] = {start + "eTiffDirectoryMode&, const eTiffBufferMode&, bool)",
                                     start +
                                         "velmo::image::DistributedImage&, const eTiffBufferMode&, bool)"};
    for (std::size_t form = 0; form < 2; ++form) {
        auto const raised = expectRaised([&] { getForms()[form]("/missing", false); });
        EXPECT_EQ(raised ? raised->function : std::string(), functions[form]);
    }
}
#endif

} // namespace velmo::test
