// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedColors.h"
#include "TiffFilesFixture.h"

namespace velmo::test {

using namespace image;

namespace {

/// Three files of two RGB pages; in each one a strip cannot be decoded.
class TiffFilesColors : public TiffFiles, public testing::WithParamInterface<ColorDamage> {
  protected:
    TiffFilesColors() {
        for (unsigned int index = 0; index < 3; ++index) {
            _files.emplace_back(numbered(index), GetParam(), 1 + 10 * index);
        }
        writeEvenSteps(2 * _files.size());
    }

    std::vector<DamagedColors> _files;
};

std::string nameOfFilesDamage(testing::TestParamInfo<ColorDamage> const& info) {
    return info.param.name;
}

} // namespace

TEST_P(TiffFilesColors, InEveryJoinedImageTheStripIsBlackAndAllOthersAreRight) {
    for (Route const& route : getJoins()) {
        SCOPED_TRACE(route.name);
        ImagePtr const pImage = route();
        ASSERT_TRUE(pImage);
        for (vlUInt64 file = 0; file < _files.size(); ++file) {
            for (vlUInt64 page = 0; page < DamagedColors::g_nbPages; ++page) {
                for (vlUInt64 c = 0; c < 3; ++c) {
                    vlUInt64 const z = route.bAlongZ ? 2 * file + page : page;
                    EXPECT_TRUE(readRun(*pImage, z, c, route.bAlongZ ? 0 : file, 0,
                                        _files[file].getPlanNbPixels()) == _files[file].getPlan(page, c))
                        << "file " << file << " page " << page << " channel " << c;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Damages, TiffFilesColors, testing::ValuesIn(getColorDamages()), nameOfFilesDamage);

} // namespace velmo::test
