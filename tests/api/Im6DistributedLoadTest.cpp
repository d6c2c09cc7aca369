// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Functions.h"
#include "Processes.h"
#include "RecordingEngine.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class Im6DistributedLoad : public Im6Functions {
  protected:
    Im6DistributedLoad() : _replaced(createRecordingEngine(_pRecord)) {}

    void resetCounts() {
        _pRecord->nbAdded = _pRecord->nbDropped = _pRecord->nbWrites = _pRecord->nbFills = 0;
        _pRecord->writers.clear();
    }

    /// Both forms.
    std::vector<std::function<DistributedImagePtr(bool defaultDispatch)>> getForms() const {
        return {[this](bool b) { return loadDistributedIm6ImageFile(_path, b); },
                [this](bool b) { return loadDistributedIm6ImageFile(_path, *_pReference, b); }};
    }

    std::shared_ptr<WorkerRecord> _pRecord = std::make_shared<WorkerRecord>();
    ReplacedEngine _replaced;
};

} // namespace

TEST_F(Im6DistributedLoad, WithTheDefaultDispatchTheWorkersRead) {
    for (auto const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(true);
        EXPECT_EQ(_pRecord->nbFills, 6); // blocks of two planes
        EXPECT_EQ(_pRecord->nbWrites, 0);
        EXPECT_EQ(readPixels(*pImage), _sample.pixels);
    }
}

TEST_F(Im6DistributedLoad, WithTheDefaultDispatchTheWorkersReadAtOnce) {
    _pRecord->nbToMeet = 2;
    for (auto const& load : getForms()) {
        _pRecord->fillers.clear();
        EXPECT_EQ(readPixels(*load(true)), _sample.pixels);
        EXPECT_EQ(_pRecord->fillers.size(), 2U);
    }
}

TEST_F(Im6DistributedLoad, WithoutItTheCallingThreadReadsAlone) {
    for (auto const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(false);
        EXPECT_EQ(_pRecord->nbFills, 0);
        EXPECT_EQ(_pRecord->nbWrites, 12);
        EXPECT_EQ(_pRecord->writers, std::set<std::thread::id>{std::this_thread::get_id()});
        EXPECT_EQ(readPixels(*pImage), _sample.pixels);
    }
}

// The reference

TEST_F(Im6DistributedLoad, NothingOfTheReferenceIsUsed) {
    ReplacedEngine const bottomless(createBottomlessEngine());
    DistributedImagePtr pHuge;
    ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(
        *geometry3d(eIBT_UInt8, 1UL << 32U, 1UL << 31U, 1), pHuge));
    ReplacedEngine const recording(createRecordingEngine(_pRecord));
    DistributedImagePtr const references[] = {
        pHuge, makeDistributedImage(*makeHeterogeneous(), makePixels(*makeHeterogeneous())),
        makeDistributedImage(*geometry3d(eIBT_Binary, 0, 0, 0), ""),
        boost::make_shared<DistributedImage>(nullptr)};
    for (DistributedImagePtr const& pReference : references) {
        pReference->setUserPropertiesStr("of the reference");
        pReference->setGeometricCalibration(boost::make_shared<GeometricCalibration>());
        for (bool const defaultDispatch : {false, true}) {
            auto const pImage = loadDistributedIm6ImageFile(_path, *pReference, defaultDispatch);
            EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
            EXPECT_EQ(readPixels(*pImage), _sample.pixels);
            EXPECT_EQ(pImage->getUserPropertiesStr(), "");
            EXPECT_FALSE(pImage->hasGeometricCalibration());
        }
    }
}

TEST_F(Im6DistributedLoad, TheReferenceStaysAsItWas) {
    loadDistributedIm6ImageFile(_path, *_pReference, true);
    loadDistributedIm6ImageFile(_path, *_pReference, false);
    EXPECT_EQ(readPixels(*_pReference), std::string(192, 'r'));
}

// Failures

TEST_F(Im6DistributedLoad, AWorkerWithoutRoomIsAFailedCreation) {
    _pRecord->addFailure = "no room";
    for (auto const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            resetCounts();
            expectRaisedText([&] { load(defaultDispatch); }, "Failed to create distributed image\nno room");
            EXPECT_EQ(_pRecord->nbAdded, 1);
            EXPECT_EQ(_pRecord->nbDropped, 1);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(Im6DistributedLoad, AnEngineWithoutWorkersIsAFailedCreation) {
    ReplacedEngine const empty(createThreadDistributionEngine(0));
    for (auto const& load : getForms()) {
        expectRaisedText([&] { load(true); },
                         "Failed to create distributed image\nA distributed image needs a worker");
    }
}

TEST_F(Im6DistributedLoad, AFileThatDoesNotOpenIsMetBeforeTheWorkersAreAsked) {
    fs::remove(_path);
    for (auto const& load : getForms()) {
        resetCounts();
        expectRaisedText([&] { load(true); }, loadError(_path, openFailed(_path)));
        EXPECT_EQ(_pRecord->nbAdded, 0);
    }
}

TEST_F(Im6DistributedLoad, AWorkersFailureIsTheLoadError) {
    _pRecord->fillFailure = "the worker has lost its network";
    _pRecord->writeFailure = "the worker refuses";
    for (auto const& load : getForms()) {
        resetCounts();
        expectRaisedText([&] { load(true); }, loadError(_path, "the worker has lost its network"));
        expectRaisedText([&] { load(false); }, loadError(_path, "the worker refuses"));
        EXPECT_EQ(countOpen(_path), 0);
        EXPECT_EQ(_pRecord->nbDropped, 12); // six blocks of each of two images
    }
}

// As from any image

TEST_F(Im6DistributedLoad, ACpuCopyGathersThePlanesOfAllWorkers) {
    for (auto const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            auto const pImage = load(defaultDispatch);
            EXPECT_TRUE(pImage->requiresCpuCopy());
            EXPECT_EQ(pImage->accessPlan(0, 0, 0), nullptr);
            ImageConstPtr const pCopy = pImage->createCpuCopy();
            EXPECT_FALSE(pCopy->requiresCpuCopy());
            EXPECT_TRUE(haveSamePixels(pCopy->getGeometry(), pImage->getGeometry()));
            EXPECT_EQ(readPixels(*pCopy), _sample.pixels);
        }
    }
}

TEST_F(Im6DistributedLoad, WhatIsLoadedIsSavedAsTiffAndAsRawAndLoadsAgain) {
    for (auto const& load : getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            auto const pImage = load(defaultDispatch);
            saveTiffImageFile(_folder / "saved.tif", pImage, eTC_Lzw);
            ImagePtr const pAgain = loadTiffImageFile(_folder / "saved.tif", eTBM_Default);
            EXPECT_TRUE(haveSamePixels(pAgain->getGeometry(), pImage->getGeometry()));
            EXPECT_EQ(readPixels(*pAgain), _sample.pixels);
            EXPECT_FALSE(pAgain->hasGeometricCalibration());
            saveRawImageFile(_folder / "saved.raw", pImage, "head");
            EXPECT_EQ(readFile(_folder / "saved.raw"), "head" + _sample.pixels);
        }
    }
}

TEST_F(Im6DistributedLoad, ManyLoadsOfOneFileRunAtOnce) {
    onThreads(8, [&](unsigned int thread) {
        for (int round = 0; round < 10; ++round) {
            EXPECT_EQ(readPixels(*getForms()[thread % 2](thread % 4 < 2)), _sample.pixels);
            EXPECT_EQ(readPixels(*loadIm6ImageFile(_path)), _sample.pixels);
        }
    });
}

TEST_F(Im6DistributedLoad, AnImageOfMorePlanesThanBlocksLoadsOnManyWorkers) {
    Im6Sample sample;
    sample.sizeX = 64;
    sample.sizeY = 64;
    sample.sizeZ = 100;
    sample.pixels = makeBytes(409600);
    sample.write(_path);
    ReplacedEngine const workers(createThreadDistributionEngine(8));
    EXPECT_EQ(readPixels(*loadDistributedIm6ImageFile(_path, true)), sample.pixels);
}

} // namespace velmo::test
