// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/ChannelSamples.h"

#include "TemporaryFolder.h"
#include "Tiff/model/TiffPixels.h"

#include <gtest/gtest.h>
#include <ostream>
#include <vector>

namespace velmo::image::file {

namespace {

struct PixelKind {
    eImageBufferType type;
    vlUInt64 nbChannels;
};

std::ostream& operator<<(std::ostream& stream, PixelKind const& kind) {
    return stream << kind.type << " x " << kind.nbChannels;
}

class ChannelSamples : public testing::TestWithParam<PixelKind> {
  protected:
    static constexpr vlUInt64 s_guard = 7; ///< an odd number: no buffer is aligned

    void use(vlUInt64 nbPixels) {
        _nbPixels = nbPixels;
        _planeBytes = nbPixels * getImageBufferBaseSize(GetParam().type);
        _pixels.assign(s_guard + _planeBytes * GetParam().nbChannels + s_guard, std::byte{0});
        unsigned char number = 0;
        for (std::byte& byte : _pixels) {
            byte = std::byte{number += 37};
        }
        _planes.assign(GetParam().nbChannels, std::vector<std::byte>(s_guard + _planeBytes + s_guard));
    }

    template <class Planes>
    Planes listPlanes(vlUInt64 nbListed) {
        Planes planes;
        for (vlUInt64 channel = 0; channel < nbListed; ++channel) {
            planes.push_back({channel, _planes[channel].data()});
        }
        return planes;
    }

    std::vector<std::vector<std::byte>> splitOneByOne(vlUInt64 nbListed) {
        auto planes = _planes;
        for (vlUInt64 channel = 0; channel < nbListed; ++channel) {
            colorToPlan(GetParam().type, GetParam().nbChannels, channel, _nbPixels, _pixels.data() + s_guard,
                        planes[channel].data() + s_guard);
        }
        return planes;
    }

    /// Sets the samples of the first channels in the pixels to zero.
    void clearChannels(vlUInt64 nbListed) {
        std::vector<std::byte> const zeros(_planeBytes);
        for (vlUInt64 channel = 0; channel < nbListed; ++channel) {
            planToColor(GetParam().type, GetParam().nbChannels, channel, _nbPixels, zeros.data(),
                        _pixels.data() + s_guard);
        }
    }

    static constexpr bool s_bShuffles[] = {false, true};

    /// Whether this processor can copy in this way.
    static bool isPossible(bool bShuffles) { return !bShuffles || hasByteShuffles(); }

    vlUInt64 _nbPixels = 0;
    vlUInt64 _planeBytes = 0;
    std::vector<std::byte> _pixels;
    std::vector<std::vector<std::byte>> _planes;
};

} // namespace

TEST_P(ChannelSamples, AreSplitAsOneChannelAfterTheOther) {
    for (vlUInt64 nbPixels = 0; nbPixels < 70; ++nbPixels) {
        for (vlUInt64 nbListed = 1; nbListed <= GetParam().nbChannels; ++nbListed) {
            use(nbPixels);
            auto const expected = splitOneByOne(nbListed);
            for (bool const bShuffles : s_bShuffles) {
                if (isPossible(bShuffles)) {
                    use(nbPixels);
                    splitPixels(GetParam().type, GetParam().nbChannels, nbPixels, _pixels.data() + s_guard,
                                listPlanes<TargetPlanes>(nbListed), s_guard, bShuffles);
                    ASSERT_EQ(_planes, expected) << nbPixels << " pixels, " << nbListed << " channels";
                }
            }
        }
    }
}

TEST_P(ChannelSamples, AreMergedToThePixelsThatWereSplitAndTouchNothingElse) {
    for (vlUInt64 nbPixels = 0; nbPixels < 70; ++nbPixels) {
        for (vlUInt64 nbListed = 1; nbListed <= GetParam().nbChannels; ++nbListed) {
            use(nbPixels);
            auto const expected = _pixels;
            _planes = splitOneByOne(nbListed);
            for (bool const bShuffles : s_bShuffles) {
                if (isPossible(bShuffles)) {
                    clearChannels(nbListed);
                    mergePixels(GetParam().type, GetParam().nbChannels, nbPixels,
                                listPlanes<SourcePlanes>(nbListed), s_guard, _pixels.data() + s_guard,
                                bShuffles);
                    ASSERT_EQ(_pixels, expected) << nbPixels << " pixels, " << nbListed << " channels";
                }
            }
        }
    }
}

TEST(ByteShuffles, AreUsedOnAProcessorThatHasThem) {
    EXPECT_EQ(hasByteShuffles(), test::readFile("/proc/cpuinfo").find(" ssse3 ") != std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ChannelSamples,
                         testing::Values(PixelKind{eIBT_UInt8, 3}, PixelKind{eIBT_UInt8, 4},
                                         PixelKind{eIBT_UInt16, 3}, PixelKind{eIBT_UInt16, 4},
                                         PixelKind{eIBT_Real32, 3}, PixelKind{eIBT_Real32, 4},
                                         PixelKind{eIBT_UInt8, 2}, PixelKind{eIBT_UInt8, 5}),
                         [](auto const& kind) {
                             return std::to_string(getImageBufferBaseSize(kind.param.type)) + "Bytes" +
                                    std::to_string(kind.param.nbChannels) + "Channels";
                         });

} // namespace velmo::image::file
