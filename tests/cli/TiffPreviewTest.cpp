// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "PngImage.h"
#include "TiffSample.h"

#include <numeric>

namespace velmo::test {

using testing::Each;
using Levels = std::vector<int>;

namespace {

class TiffPreview : public CliTest {
  protected:
    PngImage show(Arguments const& options = {}) const {
        expectDone(runTool(Arguments{"preview", path("in.tif"), path("out.png"), "--overwrite"} + options));
        return readPng(_folder / "out.png");
    }
};

TiffPage row(std::vector<std::uint8_t> const& values) {
    TiffPage page;
    page.sizeX = static_cast<std::uint32_t>(values.size());
    page.sizeY = 1;
    page.pixels = toBytes(values);
    return page;
}

} // namespace

TEST_F(TiffPreview, TheMiddleDirectoryIsShown) {
    writeTiff(_folder / "in.tif", {row({9, 9}), row({0, 51}), row({9, 9})});
    EXPECT_EQ((Levels{0, 51}), show({"--range", "0,255"}).pixels);
}

TEST_F(TiffPreview, AMontageShowsAllDirectories) {
    writeTiff(_folder / "in.tif", {row({1, 2}), row({3, 4}), row({5, 6})});
    PngImage const png = show({"--montage", "--range", "0,255"});
    EXPECT_EQ(4U, png.width);
    EXPECT_EQ(2U, png.height);
    EXPECT_EQ((Levels{1, 2, 3, 4, 5, 6, 0, 0}), png.pixels);
}

TEST_F(TiffPreview, DirectoriesAreTimeStepsWhereTheOptionSaysSo) {
    writeTiff(_folder / "in.tif", {row({1, 2}), row({3, 4}), row({5, 6})});
    EXPECT_EQ((Levels{5, 6}), show({"--directories", "t", "--t", "2", "--range", "0,255"}).pixels);
}

TEST_F(TiffPreview, ColoursAreShownAsColours) {
    TiffPage page = row({10, 20, 30, 40, 50, 60});
    page.sizeX = 2;
    page.samples = 3;
    page.photometric = PHOTOMETRIC_RGB;
    writeTiff(_folder / "in.tif", {page});
    PngImage const png = show({"--range", "0,255"});
    EXPECT_EQ(3U, png.nbChannels);
    EXPECT_EQ((Levels{10, 20, 30, 40, 50, 60}), png.pixels);
}

TEST_F(TiffPreview, WhereTheLeastValueIsWhiteItIsShownWhite) {
    TiffPage page = row({0, 255});
    page.photometric = PHOTOMETRIC_MINISWHITE;
    writeTiff(_folder / "in.tif", {page});
    EXPECT_EQ((Levels{255, 0}), show().pixels);
}

TEST_F(TiffPreview, PackedBitsStandInTheirColumnsInWideRows) {
    TiffPage page;
    page.sizeX = 1801; // of the pieces of 65536 pixels, the second begins at column 700
    page.sizeY = 100;
    page.bits = 1;
    page.pixels.assign(page.countBytes(), '\0');
    for (std::uint32_t y = 0; y < page.sizeY; ++y) {
        page.pixels[y * page.countRowBytes() + 100] = '\x80';
    }
    writeTiff(_folder / "in.tif", {page});
    PngImage const png = show({"--max-size", "2000"});
    ASSERT_EQ(page.sizeX, png.width);
    Levels column;
    for (std::size_t y = 0; y < page.sizeY; ++y) {
        column.push_back(png.pixels[y * page.sizeX + 800]);
    }
    EXPECT_THAT(column, Each(255));
    EXPECT_EQ(100 * 255, std::accumulate(png.pixels.begin(), png.pixels.end(), 0));
}

TEST_F(TiffPreview, APlaneOfAnImageJStackOfOneDirectoryIsInItsPlace) {
    TiffPage page;
    page.sizeX = 400;
    page.sizeY = 300; // more pixels than are read at once
    std::size_t const nbPixels = page.countBytes();
    page.pixels = std::string(nbPixels, '\1') + std::string(nbPixels, '\7') + std::string(nbPixels, '\3');
    writeImageJStack(_folder / "in.tif", 3, page);
    PngImage const png = show({"--z", "1", "--range", "0,255"});
    EXPECT_EQ(nbPixels, png.pixels.size());
    EXPECT_THAT(png.pixels, Each(7));
}

TEST_F(TiffPreview, AFileThatFailsLeavesNoPicture) {
    create("in.tif", "no image");
    expectFailure(runTool({"preview", path("in.tif"), path("out.png")}), 1,
                  "Failed to open tiff image file " + path("in.tif"));
    EXPECT_THAT(list(), testing::ElementsAre("in.tif"));
}

} // namespace velmo::test
