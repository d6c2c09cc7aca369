// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

namespace {

struct Width {
    eImageBufferType bufferType;
    vlUInt64 nbBytes;
    friend void PrintTo(Width const& width, std::ostream* pStream) { *pStream << width.bufferType; }
};

class TiffInterleavedCopiesTest : public testing::TestWithParam<Width> {
  protected:
    std::string toPlane(vlUInt64 nbChannels, vlUInt64 channel, vlUInt64 nbPixels,
                        std::string const& pixels) const {
        std::string plane(nbPixels * GetParam().nbBytes + 1, '#');
        colorToPlan(GetParam().bufferType, nbChannels, channel, nbPixels, pixels.data(), plane.data());
        EXPECT_EQ(plane.back(), '#'); // nothing behind the pixels
        plane.pop_back();
        return plane;
    }
};

using TiffInterleavedRefusalsTest = testing::TestWithParam<eImageBufferType>;

} // namespace

TEST_P(TiffInterleavedCopiesTest, AChannelIsPickedOutOfItsPixels) {
    for (vlUInt64 nbChannels = 1; nbChannels <= 5; ++nbChannels) {
        std::string const pixels = noise(17 * nbChannels * GetParam().nbBytes);
        for (vlUInt64 channel = 0; channel < nbChannels; ++channel) {
            EXPECT_EQ(toPlane(nbChannels, channel, 17, pixels),
                      pickChannel(pixels, nbChannels, channel, GetParam().nbBytes));
        }
    }
}

TEST_P(TiffInterleavedCopiesTest, AChannelIsPutAmongTheOthersWhichStay) {
    for (vlUInt64 nbChannels = 1; nbChannels <= 5; ++nbChannels) {
        std::string pixels = noise(17 * nbChannels * GetParam().nbBytes);
        Channels channels = pickChannels(pixels, nbChannels, GetParam().nbBytes);
        for (vlUInt64 channel = 0; channel < nbChannels; ++channel) {
            channels[channel] = noise(17 * GetParam().nbBytes, 9);
            planToColor(GetParam().bufferType, nbChannels, channel, 17, channels[channel].data(),
                        pixels.data());
            EXPECT_EQ(pixels, interleave(channels, GetParam().nbBytes));
        }
    }
}

TEST_P(TiffInterleavedCopiesTest, PixelsNeedNoAlignment) {
    std::string const pixels = noise(9 * 3 * GetParam().nbBytes + 1);
    std::string plane(9 * GetParam().nbBytes + 3, '#');
    colorToPlan(GetParam().bufferType, 3, 2, 9, pixels.data() + 1, plane.data() + 3);
    EXPECT_EQ(plane.substr(3), pickChannel(pixels.substr(1), 3, 2, GetParam().nbBytes));
}

INSTANTIATE_TEST_SUITE_P(BufferTypes, TiffInterleavedCopiesTest,
                         testing::Values(Width{eIBT_Int8, 1}, Width{eIBT_UInt8, 1}, Width{eIBT_Label8, 1},
                                         Width{eIBT_Binary, 1}, Width{eIBT_Int16, 2}, Width{eIBT_UInt16, 2},
                                         Width{eIBT_Label16, 2}, Width{eIBT_Int32, 4}, Width{eIBT_UInt32, 4},
                                         Width{eIBT_Label32, 4}, Width{eIBT_Real32, 4}));

TEST_P(TiffInterleavedRefusalsTest, ATypeWithoutPixelsIsLoggedAndThrown) {
    std::string const pixels(64, 'p');
    std::string target(64, 't');
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    std::string const text = "Invalid image buffer type enum value 0";
    EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>(
                  [&] { colorToPlan(GetParam(), 3, 0, 4, pixels.data(), target.data()); }),
              text);
    EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>(
                  [&] { planToColor(GetParam(), 1, 0, 4, pixels.data(), target.data()); }),
              text);
    ASSERT_EQ(log.getRecords().size(), 2U);
    for (auto const& record : log.getRecords()) {
        EXPECT_EQ(record.level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(record.message, text);
    }
    EXPECT_EQ(target, std::string(64, 't'));
}

INSTANTIATE_TEST_SUITE_P(BufferTypes, TiffInterleavedRefusalsTest,
                         testing::Values(eIBT_None, static_cast<eImageBufferType>(12),
                                         static_cast<eImageBufferType>(g_atPixels)));

namespace {

constexpr vlUInt64 g_nbRunPixels = 7;

/// A page of 10 x 4 RGB or RGBA pixels of 16 bits that holds noise.
class TiffInterleavedPointersTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {
  protected:
    static constexpr vlUInt64 g_nbPagePixels = 40;

    Planes createPage(eColorGeometryType colorType) {
        Planes planes = createPlanes(_path, makeColorGeometry(colorType, eIBT_UInt16, {10, 4}), GetParam());
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

} // namespace

TEST_P(TiffInterleavedPointersTest, AFourthPointerIsWrittenOfFourChannelsAlone) {
    for (eColorGeometryType const colorType : {eCGT_Rgb, eCGT_Rgba}) {
        Planes const planes = createPage(colorType);
        writeFour(planes, planes.wholePlane());
        writeFour(planes, {0, 0, 0, 15, g_nbRunPixels});
        writeFour(planes, {0, 0, 0, g_nbPagePixels - 1, 1});
    }
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffInterleavedPointersTest,
                         testing::Values(eTC_None, eTC_Lzw, eTC_Deflate));

} // namespace velmo::image::file
