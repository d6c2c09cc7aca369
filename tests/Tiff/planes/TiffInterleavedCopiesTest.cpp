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

TEST_P(TiffInterleavedCopiesTest, NoPixelsMoveNothing) {
    std::string pixels = noise(12 * GetParam().nbBytes);
    std::string const before = pixels;
    EXPECT_EQ(toPlane(3, 1, 0, pixels), "");
    planToColor(GetParam().bufferType, 3, 1, 0, nullptr, pixels.data());
    EXPECT_EQ(pixels, before);
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

} // namespace velmo::image::file
