// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawFunctions.h"
#include "RecordingEngine.h"

#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class RawDistributedLoad : public RawFunctions {
  protected:
    RawDistributedLoad() : _replaced(createRecordingEngine(_pRecord)) {
        _pModel = makeDistributedImage(*makeSequence(eIBT_UInt8), std::string(48, '\0'));
        resetCounts();
    }

    void resetCounts() {
        _pRecord->nbAdded = _pRecord->nbDropped = _pRecord->nbWrites = _pRecord->nbFills = 0;
        _pRecord->writers.clear();
    }

    /// Both forms, which differ in where the geometry comes from.
    std::vector<std::function<DistributedImagePtr(bool defaultDispatch)>> getForms() const {
        return {[this](bool b) { return loadDistributedRawImageFile(_path, *_pGeometry, 0, b); },
                [this](bool b) { return loadDistributedRawImageFile(_path, *_pModel, eIBT_UInt16, 0, b); }};
    }

    std::shared_ptr<WorkerRecord> _pRecord = std::make_shared<WorkerRecord>();
    ReplacedEngine _replaced;
};

} // namespace

TEST_F(RawDistributedLoad, WithTheDefaultDispatchTheWorkersRead) {
    for (auto const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(true);
        EXPECT_EQ(_pRecord->nbFills, 4);
        EXPECT_EQ(_pRecord->nbWrites, 0);
        EXPECT_EQ(readPixels(*pImage), _pixels);
    }
}

TEST_F(RawDistributedLoad, WithTheDefaultDispatchTheWorkersReadAtOnce) {
    _pRecord->nbToMeet = 2;
    for (auto const& load : getForms()) {
        _pRecord->fillers.clear();
        EXPECT_EQ(readPixels(*load(true)), _pixels);
        EXPECT_EQ(_pRecord->fillers.size(), 2U);
    }
}

TEST_F(RawDistributedLoad, WithoutItTheCallingThreadReadsAlone) {
    for (auto const& load : getForms()) {
        resetCounts();
        DistributedImagePtr const pImage = load(false);
        EXPECT_EQ(_pRecord->nbFills, 0);
        EXPECT_EQ(_pRecord->nbWrites, 4);
        EXPECT_EQ(_pRecord->writers, std::set<std::thread::id>{std::this_thread::get_id()});
        EXPECT_EQ(readPixels(*pImage), _pixels);
    }
}

TEST_F(RawDistributedLoad, AWorkerWithoutRoomIsAFailedCreation) {
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

TEST_F(RawDistributedLoad, AnEngineWithoutWorkersIsAFailedCreation) {
    ReplacedEngine const empty(createThreadDistributionEngine(0));
    auto const raised = expectRaised([&] { loadDistributedRawImageFile(_path, *_pGeometry, 0, true); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->text.find("Failed to create distributed image\n"), 0U) << raised->text;
}

TEST_F(RawDistributedLoad, AFileThatDoesNotOpenIsMetBeforeTheWorkersAreAsked) {
    fs::remove(_path);
    for (auto const& load : getForms()) {
        resetCounts();
        expectRaisedText([&] { load(true); },
                         loadError(_path, "Failed to open raw image file " + _path.string()));
        EXPECT_EQ(_pRecord->nbAdded, 0);
    }
}

TEST_F(RawDistributedLoad, AWorkersFailureIsTheLoadError) {
    _pRecord->fillFailure = "the worker has lost its network";
    _pRecord->writeFailure = "the worker refuses";
    for (auto const& load : getForms()) {
        expectRaisedText([&] { load(true); }, loadError(_path, "the worker has lost its network"));
        expectRaisedText([&] { load(false); }, loadError(_path, "the worker refuses"));
        EXPECT_EQ(countOpen(_path), 0);
    }
    EXPECT_EQ(_pRecord->nbDropped, 16); // four blocks of each of four images
}

TEST_F(RawDistributedLoad, AModelOfBytesAndABufferTypeOfRealsReadFourBytesAPixel) {
    std::string const pixels = makeBytes(4 * 48);
    writeFile(_path, pixels);
    for (bool const defaultDispatch : {false, true}) {
        auto const pImage = loadDistributedRawImageFile(_path, *_pModel, eIBT_Real32, 0, defaultDispatch);
        EXPECT_EQ(pImage->getBufferType(), eIBT_Real32);
        EXPECT_EQ(pImage->getGeometry().getFullMemorySize(), 192U);
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
    EXPECT_EQ(_pModel->getBufferType(), eIBT_UInt8);
    EXPECT_EQ(readPixels(*_pModel), std::string(48, '\0'));
}

TEST_F(RawDistributedLoad, AFileThatIsShortForTheOtherBufferTypeIsRefused) {
    expectRaisedText(
        [&] { loadDistributedRawImageFile(_path, *_pModel, eIBT_Real32, 3, true); },
        loadError(_path, "Input geometry with total size 192 and starting offset 3 is greater than global "
                         "file size 96 for raw image file " +
                             _path.string()));
}

TEST_F(RawDistributedLoad, TheModelGivesItsSizesAndNothingElse) {
    auto const pModel = makeDistributedImage(*geometry3d(eIBT_Binary, 6, 2, 3), std::string(36, '\1'));
    pModel->setUserPropertiesStr("of the model");
    pModel->setGeometricCalibration(boost::make_shared<GeometricCalibration>());
    auto const pImage = loadDistributedRawImageFile(_path, *pModel, eIBT_Label16, 24, true);
    EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *geometry3d(eIBT_Label16, 6, 2, 3)));
    EXPECT_EQ(readPixels(*pImage), _pixels.substr(24, 72));
    EXPECT_EQ(pImage->getUserPropertiesStr(), "");
    EXPECT_FALSE(pImage->hasGeometricCalibration());
}

TEST_F(RawDistributedLoad, AHeterogeneousModelLosesItsOtherTypes) {
    auto const pGeometry = makeHeterogeneous(); // 3 time steps of 60 pixels
    auto const pModel = makeDistributedImage(*pGeometry, makePixels(*pGeometry));
    std::string const pixels = makeBytes(180 * 2);
    writeFile(_path, pixels);
    for (bool const defaultDispatch : {false, true}) {
        auto const pImage = loadDistributedRawImageFile(_path, *pModel, eIBT_Int16, 0, defaultDispatch);
        EXPECT_EQ(pImage->getGeometry().getPlanGeometry(1).getBufferType(), eIBT_Int16);
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
}

TEST_F(RawDistributedLoad, ABufferTypeThatTakesAModelBeyond64BitsIsRefusedByTheImageLibrary) {
    ReplacedEngine const bottomless(createBottomlessEngine());
    DistributedImagePtr pHuge;
    ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(
        *geometry3d(eIBT_UInt8, 1UL << 32U, 1UL << 31U, 1), pHuge));
    expectPassedThrough<VELMOImageException>(
        [&] { loadDistributedRawImageFile(_path, *pHuge, eIBT_UInt16, 0, true); });
}

} // namespace velmo::test
