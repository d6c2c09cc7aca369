// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_nbRunPixels = 7;

struct PointerCase {
    char const* name;
    eTiffCompression compression;
};

/// A page of 10 x 4 RGB or RGBA pixels of 16 bits that holds noise.
class TiffInterleavedPointersTest : public TiffTest, public testing::WithParamInterface<PointerCase> {
  protected:
    static constexpr vlUInt64 g_nbPagePixels = 40;

    Planes createPage(eColorGeometryType colorType) {
        Planes planes =
            createPlanes(_path, makeColorGeometry(colorType, eIBT_UInt16, {10, 4}), GetParam().compression);
        vlUInt64 const sizeC = planes.pGeometry->getSizeC();
        _channels = pickChannels(noise(2 * g_nbPagePixels * sizeC), sizeC, 2);
        planes.writeRgb(planes.wholePlane(), _channels);
        return planes;
    }

    /// Writes four different channels over a run, and over those of `_channels` that the file has.
    void writeFour(Planes const& planes, PixelRun const& run) {
        Channels const four = pickChannels(noise(8 * run.count, 7), 4, 2);
        EXPECT_THAT(planes.tryWriteRgb(run, four), Succeeds());
        for (std::size_t channel = 0; channel < _channels.size(); ++channel) {
            _channels[channel].replace(2 * run.start, 2 * run.count, four[channel]);
        }
        EXPECT_TRUE(readDirectoryPixels(_path, 0) == interleave(_channels, 2));
    }

    Channels _channels;
};

std::string nameOfPointerCase(testing::TestParamInfo<PointerCase> const& info) {
    return info.param.name;
}

} // namespace

TEST_P(TiffInterleavedPointersTest, OfThreeChannelsAFourthPointerIsNotWritten) {
    Planes const planes = createPage(eCGT_Rgb);
    writeFour(planes, planes.wholePlane());
    writeFour(planes, {0, 0, 0, 15, g_nbRunPixels});
    writeFour(planes, {0, 0, 0, g_nbPagePixels - 1, 1});
}

TEST_P(TiffInterleavedPointersTest, OfFourChannelsTheFourthPointerIsWritten) {
    Planes const planes = createPage(eCGT_Rgba);
    writeFour(planes, planes.wholePlane());
    writeFour(planes, {0, 0, 0, 15, g_nbRunPixels});
    writeFour(planes, {0, 0, 0, g_nbPagePixels - 1, 1});
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffInterleavedPointersTest,
                         testing::Values(PointerCase{"None", eTC_None}, PointerCase{"Lzw", eTC_Lzw},
                                         PointerCase{"Deflate", eTC_Deflate}),
                         nameOfPointerCase);

} // namespace velmo::image::file
