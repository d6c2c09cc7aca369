// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Functions.h"
#include "PlainDistributedLoads.h"
#include "Processes.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>

namespace velmo::test {

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

    std::string const& getPixels() const { return _sample.pixels; }
    std::string getOpenFailed() const { return openFailed(_path); }

    std::shared_ptr<WorkerRecord> _pRecord = std::make_shared<WorkerRecord>();
    ReplacedEngine _replaced;

  public:
    static constexpr int s_nbBlocks = 6; // of two planes
    static constexpr int s_nbPlanes = 12;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Im6, DistributedLoads, Im6DistributedLoad, );

} // namespace

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
        EXPECT_EQ(pReference->getUserPropertiesStr(), "of the reference");
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
