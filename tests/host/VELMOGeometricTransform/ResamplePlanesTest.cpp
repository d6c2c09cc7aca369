// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Planes of all sizes: several pixels are worked on at a time, and what is left over by itself.

#include "PixelPattern.h"
#include "ResampleTools.h"

#include <cmath>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;

namespace {

constexpr eImageBufferType g_integers[] = {eIBT_Int8,   eIBT_UInt8, eIBT_Int16,
                                           eIBT_UInt16, eIBT_Int32, eIBT_UInt32};

double roundInto(double value, Range const& range) {
    double const rounded = value < 0 ? std::ceil(value - 0.5) : std::floor(value + 0.5);
    return std::min(range.highest, std::max(range.lowest, rounded));
}

/// Pixels of a result that are not what the plain interpolation gives, one pixel after the other. With even
/// steps and quarters between them no sum is rounded on its way, but for the final one.
vlUInt64 countWrongPixels(BaseImage const& source, BaseImage const& result, eInterpolationPolicy policy) {
    BaseImageGeometry const& geometry = source.getGeometry();
    std::vector<float> const steps(geometry.getSizeZ() - 1, 1.0F);
    Range const range = getRange(geometry.getBufferType());
    vlUInt64 nbWrong = 0;
    for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
        for (vlUInt64 pixel = 0; pixel < geometry.getPlanNbPixels(); ++pixel) {
            Column const plain = resampleColumn(getColumn(source, c, 0, pixel), steps, policy,
                                                result.getGeometry().getSizeZ());
            Column const found = getColumn(result, c, 0, pixel);
            for (std::size_t z = 0; z < plain.size(); ++z) {
                nbWrong += found[z] == roundInto(plain[z], range) ? 0 : 1;
            }
        }
    }
    return nbWrong;
}

ImagePtr resampleToQuarters(ImagePtr const& pSource, eInterpolationPolicy policy) {
    vlUInt64 const nbSteps = pSource->getGeometry().getSizeZ() - 1;
    return resample(pSource, std::vector<float>(nbSteps, 1.0F), policy, 4 * nbSteps + 1);
}

} // namespace

TEST(ResamplePlanes, OfEverySizeAreResampledToTheLastPixel) {
    for (auto const type : g_integers) {
        for (vlUInt64 nbPixels = 1; nbPixels <= 70; ++nbPixels) {
            ImagePtr const pSource =
                makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).channels(2).type(type).build());
            for (auto const policy : g_policies) {
                ImagePtr const pResult = resampleToQuarters(pSource, policy);
                EXPECT_EQ(countWrongPixels(*pSource, *pResult, policy), 0U)
                    << "type " << type << " policy " << policy << " pixels " << nbPixels;
            }
        }
    }
}

TEST(ResamplePlanes, TakeEveryStepBetweenTwoValues) {
    for (auto const type : g_integers) {
        Range const range = getRange(type);
        ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(100, 3).volume(2).type(type).build());
        for (vlUInt64 pixel = 0; pixel < 300; ++pixel) {
            auto const delta = static_cast<double>(pixel % 100) / 2;
            setPixel(*pSource, 0, 0, 0, pixel, std::floor(pixel < 150 ? range.lowest + delta : delta));
            setPixel(*pSource, 1, 0, 0, pixel, std::floor(pixel % 2 == 0 ? range.highest - delta : delta));
        }
        // 64 even steps: every weight has an exact form, and many sums end on a half.
        ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 65);
        EXPECT_EQ(countWrongPixels(*pSource, *pResult, eIP_Linear), 0U) << "type " << type;
    }
}

TEST(ResamplePlanes, OfSixteenBitsTakeEveryPairOfNeighboursAndOfEnds) {
    for (auto const type : {eIBT_Int16, eIBT_UInt16}) {
        Range const range = getRange(type);
        ImagePtr const pSource = makeNoise(*GeometryBuilder().plane(256, 256).volume(2).type(type).build());
        for (vlUInt64 pixel = 0; pixel < 65536; ++pixel) {
            double const value = range.lowest + static_cast<double>(pixel);
            setPixel(*pSource, 0, 0, 0, pixel, value);
            setPixel(*pSource, 1, 0, 0, pixel,
                     pixel % 3 == 0 ? range.highest : (pixel % 3 == 1 ? range.lowest : value + 1));
        }
        ImagePtr const pResult = resample(pSource, {1}, eIP_Linear, 5);
        EXPECT_EQ(countWrongPixels(*pSource, *pResult, eIP_Linear), 0U) << "type " << type;
    }
}

TEST(ResamplePlanes, OfEverySizeTakeTheNearestWhereTheyAreLabels) {
    for (auto const type : {eIBT_Binary, eIBT_Label8, eIBT_Label16, eIBT_Label32}) {
        for (vlUInt64 nbPixels = 1; nbPixels <= 70; ++nbPixels) {
            ImagePtr const pSource =
                makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).channels(2).type(type).build());
            EXPECT_EQ(countWrongPixels(*pSource, *resampleToQuarters(pSource, eIP_Cubic), eIP_Nearest), 0U)
                << "type " << type << " pixels " << nbPixels;
        }
    }
}

TEST(ResamplePlanes, OfRealsOfEverySizeAreResampledToTheLastPixel) {
    for (vlUInt64 nbPixels = 1; nbPixels <= 70; ++nbPixels) {
        ImagePtr const pSource =
            makeNoise(*GeometryBuilder().plane(nbPixels, 1).volume(4).type(eIBT_Real32).build());
        for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
            for (vlUInt64 z = 0; z < 4; ++z) {
                setPixel(*pSource, z, 0, 0, pixel, static_cast<double>((pixel * 37 + z * 101) % 256) - 77.5);
            }
        }
        for (auto const policy : g_policies) {
            ImagePtr const pResult = resampleToQuarters(pSource, policy);
            for (vlUInt64 pixel = 0; pixel < nbPixels; ++pixel) {
                EXPECT_THAT(getColumn(*pResult, 0, 0, pixel),
                            testing::Pointwise(
                                testing::DoubleNear(1e-4),
                                resampleColumn(getColumn(*pSource, 0, 0, pixel), {1, 1, 1}, policy, 13)));
            }
        }
    }
}

} // namespace velmo::test
