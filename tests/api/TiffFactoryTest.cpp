// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FactoryHooks.h"
#include "TiffFunctions.h"

#include <VELMOImage/GeometricCalibration.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_refusal = "no disk image today";
constexpr char const* g_given = "given by the factory";

using FormOfDispatch = std::function<DistributedImagePtr(bool defaultDispatch)>;

/// The functions of one file, with a factory that refuses or that gives more than an empty image.
class TiffFactory : public TiffFunctions {
  protected:
    TiffFactory() {
        saveExample(eTC_None);
        _pModel = makeDistributedImage(*_pGeometry, _pixels);
    }

    std::vector<FormOfDispatch> getDistributedForms() const {
        return {[this](bool bDefault) {
                    return loadDistributedTiffImageFile(_path, eTDM_Volume, eTBM_Default, bDefault);
                },
                [this](bool bDefault) {
                    return loadDistributedTiffImageFile(_path, *_pModel, eTBM_Default, bDefault);
                }};
    }

    void saveDescribed() {
        ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
        pImage->setUserPropertiesStr("of the file");
        pImage->setGeometricCalibration(createGeometricCalibration2d(0.5F, 0.25F, "mm", 0, 0, 0, 0, 0));
        saveTiffImageFile(_path, pImage, eTC_None);
    }

    /// Gives every new image a text and a calibration.
    void giveDescriptions() {
        _hooks.afterCreation = [this](BaseImage& image) { giveDescription(image); };
        _hooks.createDiskImage = [this](FactoryHooks::AccessorPtr const& pAccessor, DiskImagePtr& out) {
            BoolResult result = FactoryHooks::createDiskImageUnhooked(pAccessor, out);
            giveText(*out);
            return result;
        };
    }

    void giveText(BaseImage& image) const { image.setUserPropertiesStr(g_given); }
    void giveDescription(BaseImage& image) const {
        giveText(image);
        image.setGeometricCalibration(_pGiven);
    }

    DistributedImagePtr _pModel;
    GeometricCalibrationConstPtr const _pGiven =
        createGeometricCalibration2d(7.0F, 7.0F, "inch", 0, 0, 0, 0, 0);
    FactoryHooks _hooks;
};

} // namespace

TEST_F(TiffFactory, ARefusedDiskImageIsTheLoadErrorAndTheFileIsClosed) {
    _hooks.createDiskImage = [](auto const&, DiskImagePtr&) { return failure(g_refusal); };
    expectRaisedText([&] { openTiffImageFile(_path, eTDM_Volume, eTBM_Default); },
                     loadError(_path, g_refusal));
    EXPECT_EQ(countOpen(_path), 0);
    for (FormOfDispatch const& load : getDistributedForms()) {
        for (bool const defaultDispatch : {false, true}) {
            expectRaisedText([&] { load(defaultDispatch); }, loadError(_path, g_refusal));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffFactory, ALoadOfAFileWithoutThemSetsNeitherCalibrationNorUserProperties) {
    giveDescriptions();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getUserPropertiesStr(), g_given);
        if (std::string(load.name) != "open") { // there the factory takes the accessor's calibration
            EXPECT_EQ(pImage->getGeometricCalibrationConstPtr(), _pGiven);
        }
    }
}

TEST_F(TiffFactory, ALoadOfAFileWithThemSetsBoth) {
    saveDescribed();
    giveDescriptions();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getUserPropertiesStr(), "of the file");
        EXPECT_NE(pImage->getGeometricCalibrationConstPtr(), _pGiven);
        EXPECT_TRUE(pImage->hasGeometricCalibration());
    }
}

TEST_F(TiffFactory, ADistributedLoadSetsBothAlsoWhereTheFileHasNeither) {
    giveDescriptions();
    for (bool const bDescribed : {false, true}) {
        if (bDescribed) {
            saveDescribed();
        }
        for (FormOfDispatch const& load : getDistributedForms()) {
            for (bool const defaultDispatch : {false, true}) {
                DistributedImagePtr const pImage = load(defaultDispatch);
                EXPECT_EQ(pImage->getUserPropertiesStr(), bDescribed ? "of the file" : "");
                EXPECT_EQ(pImage->hasGeometricCalibration(), bDescribed);
                EXPECT_NE(pImage->getGeometricCalibrationConstPtr(), _pGiven);
            }
        }
    }
}

} // namespace velmo::test
