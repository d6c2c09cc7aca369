// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStrips.h"
#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_nbBoundStrips = 3;

/// A page of 4 x 6 pixels in three strips.
class TiffStripBoundsTest : public TiffTest, public testing::WithParamInterface<std::uint16_t> {
  protected:
    TiffStripBoundsTest() {
        Directory directory;
        directory.sizeY = 6;
        directory.rowsPerStrip = 2;
        directory.compression = GetParam();
        directory.pixels = countingBytes(24);
        writeTiff(_path, {directory});
    }
};

} // namespace

TEST_P(TiffStripBoundsTest, AStripBehindTheLastIsNotWritable) {
    for (vlUInt64 const strip : {g_nbBoundStrips, g_nbBoundStrips + 1, vlUInt64(1) << 40U}) {
        Planes const planes = openPlanesForWriting(_path);
        TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1});
        EXPECT_FALSE(strips.requireWritable(strip));
    }
}

TEST_P(TiffStripBoundsTest, TheLastStripIsWritten) {
    std::string const pixels = noise(8);
    {
        Planes const planes = openPlanesForWriting(_path);
        TiffStrips const strips(planes.pTiff.get(), {4, 6, 2, 1});
        EXPECT_EQ(strips.write(g_nbBoundStrips - 1, pixels.data()), 8);
    }
    EXPECT_EQ(readDirectoryPixels(_path, 0), countingBytes(16) + pixels);
}

INSTANTIATE_TEST_SUITE_P(Codecs, TiffStripBoundsTest,
                         testing::Values(COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE));

} // namespace velmo::image::file
