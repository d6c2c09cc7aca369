// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedColors.h"
#include "TiffFunctions.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

constexpr vlUInt64 g_nbRunPixels = 30;

/// A strip that cannot be decoded fails the load of a page with all its channels. Whoever reads one channel
/// of it gets black pixels and no failure. Neither depends on the size of the strip.
class TiffDamagedColors : public TiffFunctions, public testing::WithParamInterface<ColorDamage> {
  protected:
    TiffDamagedColors() : _file(_path, GetParam()) {}

    std::string getReadError() const {
        return "Failed to read data of strip 1 for directory z=1, c=0, t=0 of file " + _path.string() + '\n';
    }

    /// Every channel of both pages, row by row, and runs across both ends of the damaged strip.
    void expectBlackStrip(BaseImage const& image) const {
        constexpr vlUInt64 sizeX = DamagedColors::g_sizeX;
        for (vlUInt64 page = 0; page < DamagedColors::g_nbPages; ++page) {
            for (vlUInt64 c = 0; c < 3; ++c) {
                std::string const& plane = _file.getPlan(page, c);
                for (vlUInt64 row = 0; row < _file.getSizeY(); row += 7) {
                    ASSERT_EQ(readRun(image, page, c, 0, row * sizeX, sizeX),
                              plane.substr(row * sizeX, sizeX))
                        << "page " << page << " channel " << c << " row " << row;
                }
                for (vlUInt64 const edge :
                     {_file.getBrokenStart(), _file.getBrokenStart() + _file.getNbBroken()}) {
                    vlUInt64 const start = edge - g_nbRunPixels / 2;
                    EXPECT_EQ(readRun(image, page, c, 0, start, g_nbRunPixels),
                              plane.substr(start, g_nbRunPixels));
                }
                EXPECT_TRUE(readRun(image, page, c, 0, 0, _file.getPlanNbPixels()) == plane);
            }
        }
    }

    DamagedColors const _file;
};

std::string nameOfColorDamage(testing::TestParamInfo<ColorDamage> const& info) {
    return info.param.name;
}

} // namespace

TEST_P(TiffDamagedColors, EveryLoadFailsAndNamesTheStrip) {
    for (Load const& load : getLoads()) {
        if (std::string(load.name) != "open") {
            SCOPED_TRACE(load.name);
            expectRaisedBeginning([&] { load.call(_path); }, loadError(_path, getReadError()));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_P(TiffDamagedColors, AFailedLoadHasThePagesBefore) {
    ImagePtr pImage;
    expectRaisedBeginning([&] { loadTiffImageFile(_path, pImage, eTDM_Volume, eTBM_Default); },
                          loadError(_path, getReadError()));
    ASSERT_TRUE(pImage);
    for (vlUInt64 c = 0; c < 3; ++c) {
        EXPECT_TRUE(readRun(*pImage, 0, c, 0, 0, _file.getPlanNbPixels()) == _file.getPlan(0, c));
    }
}

TEST_P(TiffDamagedColors, AnOpenedImageHasTheStripInBlack) {
    expectBlackStrip(*openTiffImageFile(_path, eTDM_Volume, eTBM_Default));
}

TEST_P(TiffDamagedColors, AnAccessorReadsTheStripInBlack) {
    TiffImageFile file;
    std::string userProperties;
    ASSERT_TRUE(file.openFile(_path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, userProperties));
    for (vlUInt64 c = 0; c < 3; ++c) {
        std::string pixels(g_nbRunPixels, '?');
        vlUInt64 const start = _file.getBrokenStart() + _file.getNbBroken() / 2;
        BoolResult const result = file.readRawData(1, c, 0, start, g_nbRunPixels, pixels.data());
        EXPECT_TRUE(result) << result.getMessage();
        EXPECT_EQ(pixels, std::string(g_nbRunPixels, '\0'));
    }
}

TEST_P(TiffDamagedColors, ADistributedImageHasTheStripInBlack) {
    DistributedImagePtr const pModel = makeDistributedImage(
        openTiffImageFile(_path, eTDM_Volume, eTBM_Default)->getGeometry(), _file.getPixels());
    for (bool const defaultDispatch : {false, true}) {
        SCOPED_TRACE(defaultDispatch);
        EXPECT_TRUE(readPixels(*loadDistributedTiffImageFile(_path, eTDM_Volume, eTBM_Default,
                                                             defaultDispatch)) == _file.getPixels());
        EXPECT_TRUE(readPixels(*loadDistributedTiffImageFile(_path, *pModel, eTBM_Default,
                                                             defaultDispatch)) == _file.getPixels());
        EXPECT_EQ(countOpen(_path), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Damages, TiffDamagedColors, testing::ValuesIn(getColorDamages()), nameOfColorDamage);

} // namespace velmo::test
