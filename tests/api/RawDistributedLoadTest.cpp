// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PlainDistributedLoads.h"
#include "RawFunctions.h"

#include <VELMOImage/VELMOImageLog.h>

namespace velmo::test {

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

    std::string const& getPixels() const { return _pixels; }
    std::string getOpenFailed() const { return "Failed to open raw image file " + _path.string(); }

    std::shared_ptr<WorkerRecord> _pRecord = std::make_shared<WorkerRecord>();
    ReplacedEngine _replaced;

  public:
    static constexpr int s_nbBlocks = 4;
    static constexpr int s_nbPlanes = 4;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Raw, DistributedLoads, RawDistributedLoad, );

} // namespace

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
