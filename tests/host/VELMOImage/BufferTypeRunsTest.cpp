// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/BufferTypeRuns.h"

#include <gtest/gtest.h>

namespace velmo::test {

using namespace image;

namespace {

using Types = std::vector<eImageBufferType>;
constexpr vlUInt64 g_many = vlUInt64{1} << 62U;

} // namespace

TEST(BufferTypeRuns, GiveTheTypesThatTheyWereMadeOf) {
    for (Types const& types : {Types{}, Types{eIBT_UInt8}, Types{eIBT_Real32, eIBT_Real32},
                               Types{eIBT_UInt8, eIBT_UInt16, eIBT_UInt16, eIBT_UInt8, eIBT_Label32}}) {
        BufferTypeRuns const runs(types);
        EXPECT_EQ(runs.expand(), types);
        ASSERT_EQ(runs.getNbSteps(), types.size());
        vlUInt64 pixelSizes = 0;
        for (std::size_t step = 0; step < types.size(); ++step) {
            EXPECT_EQ(runs.getType(step), types[step]);
            EXPECT_EQ(runs.getPixelSizesBefore(step), pixelSizes);
            pixelSizes += getImageBufferBaseSize(types[step]);
        }
        EXPECT_EQ(runs.getType(types.size()), eIBT_None);
        EXPECT_EQ(runs.getPixelSizesBefore(types.size()), pixelSizes);
    }
}

TEST(BufferTypeRuns, OfOneTypeOrOfNoneAreUniform) {
    EXPECT_TRUE(BufferTypeRuns().isUniform());
    EXPECT_TRUE(BufferTypeRuns(Types(3, eIBT_UInt8)).isUniform());
    EXPECT_FALSE(BufferTypeRuns(Types{eIBT_UInt8, eIBT_Int16, eIBT_UInt8}).isUniform());
}

TEST(BufferTypeRuns, TellTheirFirstChangeAndTheTypesThatTheyHave) {
    EXPECT_EQ(BufferTypeRuns().getFirstChange(), 0U);
    EXPECT_EQ(BufferTypeRuns(Types(3, eIBT_UInt8)).getFirstChange(), 3U);
    BufferTypeRuns const runs(Types{eIBT_UInt8, eIBT_UInt8, eIBT_Int16, eIBT_UInt8});
    EXPECT_EQ(runs.getFirstChange(), 2U);
    EXPECT_EQ(runs.getTypesOfRuns(), (Types{eIBT_UInt8, eIBT_Int16, eIBT_UInt8}));
}

TEST(BufferTypeRuns, FollowEachOther) {
    BufferTypeRuns runs(Types{eIBT_UInt8, eIBT_UInt16});
    runs.add(eIBT_Int16, 0);
    runs.add(eIBT_UInt16, 2);
    runs.add(BufferTypeRuns(Types{eIBT_UInt16, eIBT_UInt8}));
    runs.add(BufferTypeRuns());
    EXPECT_EQ(runs.expand(),
              (Types{eIBT_UInt8, eIBT_UInt16, eIBT_UInt16, eIBT_UInt16, eIBT_UInt16, eIBT_UInt8}));
}

TEST(BufferTypeRuns, OfAnyLengthAreFoundAndTheirBytesNeverWrap) {
    BufferTypeRuns runs;
    runs.add(eIBT_UInt8, g_many);
    runs.add(eIBT_Real32, g_many);
    runs.add(eIBT_UInt16, 1);
    EXPECT_EQ(runs.getType(g_many - 1), eIBT_UInt8);
    EXPECT_EQ(runs.getType(g_many), eIBT_Real32);
    EXPECT_EQ(runs.getType(2 * g_many), eIBT_UInt16);
    EXPECT_EQ(runs.getPixelSizesBefore(g_many), g_many);
    EXPECT_EQ(runs.getPixelSizesBefore(g_many + 1), g_many + 4);
    EXPECT_EQ(runs.getPixelSizesBefore(2 * g_many), std::nullopt);
    EXPECT_EQ(runs.getPixelSizesBefore(2 * g_many + 1), std::nullopt);
}

} // namespace velmo::test
