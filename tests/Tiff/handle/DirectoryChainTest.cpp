// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/DirectoryChain.h"

#include "Tiff/handle/TiffStream.h"
#include "TiffFixture.h"

namespace velmo::image::file {

namespace {

class DirectoryChainTest : public TiffTest {
  protected:
    ~DirectoryChainTest() override { TIFFClose(_pTiff); }

    /// Opens a file and finds all its directories.
    DirectoryChain& open(std::vector<Directory> const& directories) {
        writeTiff(_path, directories);
        _pTiff = TiffStream::open(_path, "r");
        DirectoryChain& chain = TiffStream::find(_pTiff)->accessChain();
        EXPECT_EQ(chain.count(_pTiff, *TiffStream::find(_pTiff)), directories.size());
        return chain;
    }

    TIFF* _pTiff = nullptr;
};

} // namespace

TEST_F(DirectoryChainTest, ReadsThePlacesOfAllStrips) {
    DirectoryChain const& chain = open({stripDirectory(4, 5, 2)});
    auto const places = chain.readStripPlaces(_pTiff, *TiffStream::find(_pTiff), 0);
    ASSERT_TRUE(places);
    std::vector<vlUInt64> offsets;
    for (std::uint32_t strip = 0; strip < 3; ++strip) {
        offsets.push_back(TIFFGetStrileOffset(_pTiff, strip));
    }
    EXPECT_EQ(places->offsets, offsets);
    EXPECT_EQ(places->byteCounts, (std::vector<vlUInt64>{8, 8, 4}));
}

TEST_F(DirectoryChainTest, KeepsSixteenShapesAndLeavesOthersToLibtiff) {
    std::vector<Directory> directories;
    for (std::uint32_t sizeX = 1; sizeX <= 17; ++sizeX) {
        directories.push_back(stripDirectory(sizeX, 2));
    }
    directories.push_back(directories[15]);
    DirectoryChain const& chain = open(directories);
    for (vlUInt64 index = 0; index < 16; ++index) {
        EXPECT_EQ(chain.findShape(index), index);
    }
    EXPECT_EQ(chain.findShape(16), std::nullopt);
    EXPECT_EQ(chain.findShape(17), 15U);
}

} // namespace velmo::image::file
